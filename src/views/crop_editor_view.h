#pragma once

#include "canvas/crop_editor.h"
#include "shell/tasks.h"
#include "views/accessible_items.h"
#include "views/form_sheet.h"

#include <QPixmap>

namespace larkspool {

/// The picture with the frame of its crop, the handles and the magnifier. Tab goes through all that can be moved.
class CropView final : public QWidget, public AccessibleItems {
public:
    /// `sheet` outlives it.
    CropView(CropEditorSheet& sheet, QWidget* parent);

    /// What is shown of the picture that the sheet was given: the same, at most as large as a screen. Null for none.
    void showPicture(QImage picture);
    /// The sheet's state is another.
    void refresh();

    /// Where the picture lies, and where the words below it.
    QRectF pictureRect() const;
    QRectF labelRect() const;

    std::vector<AccessibleItem> accessibleItems() const override;

protected:
    bool focusNextPrevChild(bool next) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    CropEditorOverlay& overlay() { return sheet_.overlay(); }
    const CropEditorOverlay& overlay() const { return sheet_.overlay(); }
    void place();
    void select(CropHandle handle);
    void showCursor(std::optional<CropHandle> handle);
    QString measures() const;
    void paintPicture(QPainter& painter);
    void paintCrop(QPainter& painter) const;
    void paintLabel(QPainter& painter) const;
    void paintMagnifier(QPainter& painter) const;
    void paintMessage(QPainter& painter) const;

    CropEditorSheet& sheet_;
    QImage picture_;
    QPixmap scaled_; ///< The picture in its place. Null while it has to be made.
};

/// The sheet that sets a crop by hand.
class CropEditorSheetView final : public FormSheet {
public:
    struct Steps {
        Tasks tasks;                         ///< Where the picture is read.
        std::function<ImageRef()> preview;   ///< Reads it, for any thread. Null if it cannot be had.
    };

    CropEditorSheetView(QWidget& window, CropEditorSheet sheet, const Steps& steps);

    void present();

    const CropEditorSheet& sheet() const { return sheet_; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void loadPreview(const Steps& steps);
    void showPreview(ImageRef preview, QImage picture);
    void fitCard();

    CropEditorSheet sheet_;
    CropView* view_ = nullptr;
    QPushButton* reset_ = nullptr;
};

} // namespace larkspool

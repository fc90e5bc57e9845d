#pragma once

#include "shell/scene_pictures.h"
#include "views/accessible_items.h"
#include "views/controls.h"
#include "views/editor_context.h"
#include "views/name_field.h"

#include <QImage>
#include <QPointer>
#include <QTimer>

#include <optional>
#include <vector>

namespace larkspool {

class TransitionPopover;

/// The scenes of the document in their order, and the music under them.
class SceneStripView final : public Surface, public AccessibleItems {
public:
    SceneStripView(EditorContext context, QWidget* parent);
    ~SceneStripView() override;

    /// Shows the editor's state.
    void refresh();

    std::function<void()> pickMusic; ///< Asks for the music of the document. May be absent.

    std::vector<AccessibleItem> accessibleItems() const override;

protected:
    bool event(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void leaveEvent(QEvent* event) override;

private:
    struct Item {
        enum class Kind { scene, transition, add, music };
        Kind kind = Kind::scene;
        std::int64_t index = 0; ///< Of the scene.
        QRect rect;
    };

    void layOut();
    int room() const; ///< The x where the music chip's surroundings begin.
    /// What the keys act on, held within the items.
    std::size_t cursor() const;
    bool moveCursor(int key);
    void bringIntoView(const Item& item);
    /// What a click or Return does. A scene is chosen, all else opens its menu.
    void press(std::size_t index);
    void showSceneMenu(std::int64_t index, QPoint position);
    const Item* itemAt(QPoint position) const;
    void paintScene(QPainter& painter, const Item& item);
    void paintWords(QPainter& painter, const Item& item, const QString& icon, const QString& words) const;
    QImage thumbnail(const TweenScene& scene);
    CGSize thumbnailPixels() const;
    void choose(std::int64_t index);
    void beginDrag();
    void scrollAtEdges();
    /// Lets go of what was pressed and of the scene that was dragged, if one was.
    void endDrag();
    void editDocument(const std::function<void(TweenDocument&)>& work);
    void showAddMenu(QPoint position);
    void showTransition(const Item& item);
    void showMusicMenu(QPoint position);
    void rename(std::int64_t index);
    void finishRename(NameField::End end);

    EditorContext context_;
    TweenDocument document_;
    bool isShown_ = false; ///< Whether `document_` is one.
    std::vector<Item> items_;
    int scroll_ = 0; ///< Pixels.
    int contentWidth_ = 0;
    QPoint pointer_{-1, -1};
    std::optional<QPoint> pressedAt_;
    std::optional<std::int64_t> pressedScene_;
    std::optional<std::int64_t> draggingScene_, dropOnto_;
    QPointer<QWidget> focusBeforeDrag_;
    QPointer<TransitionPopover> transition_;
    std::int64_t transitionIndex_ = 0; ///< Of the scene whose transition the popover shows.
    std::optional<std::int64_t> renaming_;
    NameField* nameField_ = nullptr;
    std::size_t cursor_ = 0; ///< Where the keyboard is among the items.

    ScenePictures thumbnails_;
    QTimer thumbnailsWanted_; ///< Runs from a change on, until a scene's picture is asked for.
};

} // namespace larkspool

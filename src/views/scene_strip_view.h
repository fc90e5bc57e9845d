#pragma once

#include "views/controls.h"
#include "views/editor_context.h"

#include <QPixmap>

#include <map>
#include <vector>

class QLineEdit;

namespace larkspool {

/// The scenes of the document in their order, and the music under them.
class SceneStripView final : public Surface {
public:
    SceneStripView(EditorContext context, QWidget* parent);

    /// Shows the editor's state.
    void refresh();

protected:
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
    const Item* itemAt(QPoint position) const;
    void paintScene(QPainter& painter, const Item& item) const;
    void paintWords(QPainter& painter, const Item& item, const QString& icon, const QString& words) const;
    const QPixmap& thumbnail(const TweenScene& scene) const;
    void choose(std::int64_t index);
    void editDocument(const std::function<void(TweenDocument&)>& work);
    void showAddMenu(QPoint position);
    void showTransitionMenu(std::int64_t index, QPoint position);
    void showMusicMenu(QPoint position);
    void pickAudioFile();
    void rename(std::int64_t index);
    void finishRename();

    EditorContext context_;
    TweenDocument document_;
    std::vector<Item> items_;
    int scroll_ = 0; ///< Pixels.
    int contentWidth_ = 0;
    QPoint pointer_{-1, -1};
    std::optional<QPoint> pressedAt_;
    std::optional<std::int64_t> draggingScene_, dropOnto_;
    std::optional<std::int64_t> renaming_;
    QLineEdit* nameField_ = nullptr;
    mutable std::map<UUID, std::pair<TweenScene, QPixmap>> thumbnails_;
};

} // namespace larkspool

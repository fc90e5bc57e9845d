#include "views/scene_strip_view.h"

#include "rendering/frame_composition.h"
#include "shell/scene_strip.h"
#include "views/icons.h"
#include "views/picture.h"
#include "views/theme.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QFileDialog>
#include <QInputDialog>
#include <QLineEdit>
#include <QMenu>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QUrl>
#include <QFileInfo>
#include <QWheelEvent>

#include <algorithm>
#include <utility>

namespace larkspool {

namespace {

constexpr int chipHeight = 36, transitionHeight = 24, musicHeight = 28, padding = 12, gap = 8;
constexpr QSize thumbnailSize(46, 26);

QString words(std::string_view text)
{
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

QString iconOf(const std::optional<SceneTransition>& transition)
{
    if (!transition) return "transition-none";
    switch (transition->kind) {
    case SceneTransition::Kind::fade: return "transition-fade";
    case SceneTransition::Kind::slideL: return "transition-slide-left";
    case SceneTransition::Kind::slideR: return "transition-slide-right";
    case SceneTransition::Kind::push: return "transition-push";
    case SceneTransition::Kind::zoom: return "transition-zoom";
    }
    return {};
}

int advance(TextStyle style, const QString& text)
{
    return QFontMetrics(textFont(style)).horizontalAdvance(text);
}

} // namespace

SceneStripView::SceneStripView(EditorContext context, QWidget* parent)
    : Surface(theme().window, parent), context_(std::move(context))
{
    setAccessibleName("Scenes");
    setMouseTracking(true);
    nameField_ = new QLineEdit(this);
    nameField_->hide();
    connect(nameField_, &QLineEdit::editingFinished, this, [this] { finishRename(); });
}

void SceneStripView::refresh()
{
    document_ = context_.editor.state().document;
    layOut();
    update();
}

void SceneStripView::layOut()
{
    items_.clear();
    int x = padding - scroll_;
    const auto place = [&](Item::Kind kind, std::int64_t index, int itemWidth, int itemHeight) {
        items_.push_back({kind, index, QRect(x, (height() - itemHeight) / 2, itemWidth, itemHeight)});
        x += itemWidth + gap;
    };
    const std::int64_t count = static_cast<std::int64_t>(document_.scenes.size());
    for (std::int64_t i = 0; i < count; ++i) {
        const TweenScene& scene = document_.scenes[static_cast<std::size_t>(i)];
        const QString name = QString::fromStdString(scene.displayName(static_cast<std::size_t>(i)));
        const int textWidth = std::clamp(advance(TextStyle::bodyMedium, name), 40, 140);
        place(Item::Kind::scene, i, 5 + thumbnailSize.width() + 8 + textWidth + 12, chipHeight);
        if (i + 1 < count)
            place(Item::Kind::transition, i,
                  8 + 16 + 6 + advance(TextStyle::caption, words(SceneStrip::transitionText(scene))) + 10, transitionHeight);
    }
    place(Item::Kind::add, count, 8 + 16 + 6 + advance(TextStyle::body, words(SceneStrip::addSceneLabel)) + 12, musicHeight);
    contentWidth_ = x + scroll_;

    const QString music = document_.audio ? words(document_.audio->displayName) : words(SceneStrip::musicLabel);
    const int musicWidth = 10 + 16 + 6 + std::min(advance(TextStyle::body, music), 160) + 12;
    items_.push_back({Item::Kind::music, 0,
                      QRect(width() - padding - musicWidth, (height() - musicHeight) / 2, musicWidth, musicHeight)});
}

const SceneStripView::Item* SceneStripView::itemAt(QPoint position) const
{
    // The music chip lies above what is scrolled below it.
    for (auto item = items_.rbegin(); item != items_.rend(); ++item)
        if (item->rect.contains(position)) return &*item;
    return nullptr;
}

void SceneStripView::paintEvent(QPaintEvent* event)
{
    Surface::paintEvent(event);
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    for (const Item& item : items_) {
        switch (item.kind) {
        case Item::Kind::scene: paintScene(painter, item); break;
        case Item::Kind::transition: {
            const TweenScene& scene = document_.scenes[static_cast<std::size_t>(item.index)];
            paintWords(painter, item, iconOf(scene.transition), words(SceneStrip::transitionText(scene)));
            break;
        }
        case Item::Kind::add: paintWords(painter, item, "plus", words(SceneStrip::addSceneLabel)); break;
        case Item::Kind::music:
            painter.fillRect(item.rect.adjusted(-padding, -4, padding, 4), theme().window);
            paintWords(painter, item, document_.audio ? "music" : "plus",
                       document_.audio ? words(document_.audio->displayName) : words(SceneStrip::musicLabel));
            break;
        }
    }
}

void SceneStripView::paintScene(QPainter& painter, const Item& item) const
{
    const Theme& t = theme();
    const std::size_t index = static_cast<std::size_t>(item.index);
    const TweenScene& scene = document_.scenes[index];
    const bool isActive = index == document_.clampedActiveSceneIndex();
    const bool isHovered = item.rect.contains(pointer_);
    painter.setPen(isActive ? QPen(t.selectionOutline, 1.5) : QPen(Qt::NoPen));
    painter.setBrush(isActive ? t.accentSoft : isHovered ? t.hover : t.panel);
    painter.drawRoundedRect(QRectF(item.rect).adjusted(0.75, 0.75, -0.75, -0.75), 8, 8);
    painter.setBrush(Qt::NoBrush);

    const QRect picture(item.rect.x() + 5, item.rect.y() + 5, thumbnailSize.width(), thumbnailSize.height());
    painter.save();
    QPainterPath corners;
    corners.addRoundedRect(picture, 4, 4);
    painter.setClipPath(corners);
    painter.drawPixmap(picture, thumbnail(scene));
    painter.restore();

    const QRect text = item.rect.adjusted(5 + thumbnailSize.width() + 8, 3, -10, -3);
    painter.setFont(textFont(TextStyle::bodyMedium));
    painter.setPen(t.text);
    const QString name = QString::fromStdString(scene.displayName(index));
    if (renaming_ != item.index)
        painter.drawText(text, Qt::AlignLeft | Qt::AlignTop, painter.fontMetrics().elidedText(name, Qt::ElideRight, text.width()));
    painter.setFont(textFont(TextStyle::caption));
    painter.setPen(isActive ? t.accentText : t.textSecondary);
    painter.drawText(text, Qt::AlignLeft | Qt::AlignBottom, QString::number(scene.duration, 'f', 2) + "s");
    if (dropOnto_ == item.index && draggingScene_ && *draggingScene_ != item.index) {
        const int x = *draggingScene_ < item.index ? item.rect.right() + gap / 2 : item.rect.left() - gap / 2;
        painter.fillRect(QRect(x - 1, item.rect.top(), 2, item.rect.height()), t.selectionOutline);
    }
}

void SceneStripView::paintWords(QPainter& painter, const Item& item, const QString& icon, const QString& text) const
{
    const Theme& t = theme();
    const bool isHovered = item.rect.contains(pointer_);
    const bool isMusic = item.kind == Item::Kind::music;
    const QColor rest = isMusic ? t.panel : QColor(Qt::transparent);
    painter.setPen(Qt::NoPen);
    painter.setBrush(isHovered ? t.hover : rest);
    painter.drawRoundedRect(item.rect, isMusic ? 8 : item.rect.height() / 2.0, isMusic ? 8 : item.rect.height() / 2.0);
    painter.setBrush(Qt::NoBrush);
    painter.drawPixmap(item.rect.x() + 8, item.rect.y() + (item.rect.height() - 16) / 2,
                       iconPixmap(icon, 16, isHovered ? t.text : t.icon, devicePixelRatioF()));
    painter.setFont(textFont(item.kind == Item::Kind::transition ? TextStyle::caption : TextStyle::body));
    painter.setPen(isMusic ? t.text : t.textSecondary);
    const QRect place = item.rect.adjusted(8 + 16 + 6, 0, -6, 0);
    painter.drawText(place, Qt::AlignVCenter | Qt::AlignLeft, painter.fontMetrics().elidedText(text, Qt::ElideMiddle, place.width()));
}

/// A picture of the scene's middle, made anew when the scene has changed.
const QPixmap& SceneStripView::thumbnail(const TweenScene& scene) const
{
    auto& [shown, pixmap] = thumbnails_[scene.id];
    if (!pixmap.isNull() && shown == scene) return pixmap;
    shown = scene;
    const double ratio = devicePixelRatioF();
    pixmap = QPixmap(thumbnailSize * ratio);
    pixmap.fill(Qt::black);
    const CGSize size{thumbnailSize.width() * ratio, thumbnailSize.height() * ratio};
    if (const auto pixels = Exporter::renderSceneToImage(scene, scene.duration * 0.5, size))
        pixmap = QPixmap::fromImage(seenInPlace(*pixels).copy());
    pixmap.setDevicePixelRatio(ratio);
    return pixmap;
}

void SceneStripView::editDocument(const std::function<void(TweenDocument&)>& work)
{
    const UUID before = context_.editor.scene().id;
    context_.editor.editDocument(work);
    if (!(context_.editor.scene().id == before)) {
        context_.playback.setPlaying(false);
        context_.editor.setPlayhead(0);
        context_.playback.activeSceneChanged();
    }
    context_.changed();
}

void SceneStripView::choose(std::int64_t index)
{
    if (!context_.editor.selectScene(index)) return;
    context_.playback.setPlaying(false);
    context_.playback.activeSceneChanged();
    context_.changed();
}

void SceneStripView::mousePressEvent(QMouseEvent* event)
{
    finishRename();
    const Item* item = itemAt(event->pos());
    if (!item || event->button() != Qt::LeftButton) return;
    const QPoint below = mapToGlobal(item->rect.bottomLeft() + QPoint(0, 4));
    switch (item->kind) {
    case Item::Kind::scene:
        pressedAt_ = event->pos();
        draggingScene_ = item->index;
        return;
    case Item::Kind::transition: return showTransitionMenu(item->index, below);
    case Item::Kind::add: return showAddMenu(below);
    case Item::Kind::music: return showMusicMenu(below);
    }
}

void SceneStripView::mouseMoveEvent(QMouseEvent* event)
{
    pointer_ = event->pos();
    const Item* item = itemAt(pointer_);
    if (pressedAt_ && (pointer_ - *pressedAt_).manhattanLength() >= QApplication::startDragDistance())
        dropOnto_ = item && item->kind == Item::Kind::scene ? std::optional(item->index) : dropOnto_;
    setToolTip(item && item->kind == Item::Kind::music ? words(SceneStrip::musicHelp) : QString());
    update();
}

void SceneStripView::mouseReleaseEvent(QMouseEvent*)
{
    const std::optional<QPoint> pressed = std::exchange(pressedAt_, std::nullopt);
    const std::optional<std::int64_t> from = std::exchange(draggingScene_, std::nullopt);
    const std::optional<std::int64_t> onto = std::exchange(dropOnto_, std::nullopt);
    if (!pressed || !from) return;
    if (!onto) return choose(*from);
    if (*onto != *from)
        editDocument([&](TweenDocument& document) { document.moveScene(*from, SceneStrip::dropIndex(*from, *onto)); });
    update();
}

void SceneStripView::mouseDoubleClickEvent(QMouseEvent* event)
{
    const Item* item = itemAt(event->pos());
    if (item && item->kind == Item::Kind::scene) rename(item->index);
}

void SceneStripView::contextMenuEvent(QContextMenuEvent* event)
{
    const Item* item = itemAt(event->pos());
    if (!item || item->kind != Item::Kind::scene) return;
    const std::int64_t index = item->index;
    QMenu menu(this);
    menu.addAction("Rename", this, [this, index] { rename(index); });
    menu.addAction("Duplicate", this, [this, index] {
        choose(index);
        editDocument([](TweenDocument& document) { document.duplicateActiveScene(); });
    });
    menu.addAction("Delete", this, [this, index] {
            editDocument([index](TweenDocument& document) { document.deleteScene(index); });
        })->setEnabled(SceneStrip::canDelete(document_));
    menu.exec(event->globalPos());
}

void SceneStripView::showAddMenu(QPoint position)
{
    QMenu menu(this);
    menu.addAction(words(SceneStrip::newSceneLabel), this, [this] { editDocument([](TweenDocument& document) { document.addScene(); }); });
    menu.addAction(words(SceneStrip::duplicateSceneLabel), this,
                   [this] { editDocument([](TweenDocument& document) { document.duplicateActiveScene(); }); });
    menu.exec(position);
}

void SceneStripView::showTransitionMenu(std::int64_t index, QPoint position)
{
    const std::optional<SceneTransition> current = document_.scenes[static_cast<std::size_t>(index)].transition;
    QMenu menu(this);
    menu.addSection(words(SceneStrip::transitionHeading));
    const auto add = [&](const QString& title, std::optional<SceneTransition::Kind> kind) {
        QAction* action = menu.addAction(title, this, [this, index, kind] {
            editDocument([&](TweenDocument& document) { SceneStrip::chooseTransition(document, index, kind); });
        });
        action->setCheckable(true);
        action->setChecked(kind ? current && current->kind == *kind : !current);
    };
    add(words(SceneStrip::noneLabel), std::nullopt);
    for (const auto& row : EnumTable<SceneTransition::Kind>::cases) add(words(row.label), row.value);
    menu.addSeparator();
    QAction* duration = menu.addAction(words(SceneStrip::durationLabel) + "…", this, [this, index, current] {
        bool isTaken = false;
        const double seconds = QInputDialog::getDouble(this, words(SceneStrip::transitionHeading), words(SceneStrip::durationLabel),
                                                       current->duration, 0.1, 5, 1, &isTaken);
        if (isTaken)
            editDocument([&](TweenDocument& document) { SceneStrip::setTransitionDuration(document, index, seconds); });
    });
    duration->setEnabled(current.has_value());
    menu.exec(position);
}

void SceneStripView::showMusicMenu(QPoint position)
{
    if (!document_.audio) return pickAudioFile();
    QMenu menu(this);
    menu.addAction("Replace…", this, [this] { pickAudioFile(); });
    menu.addAction("Remove", this, [this] { editDocument([](TweenDocument& document) { document.audio.reset(); }); });
    menu.exec(position);
}

void SceneStripView::pickAudioFile()
{
    const QString path = QFileDialog::getOpenFileName(this, words(SceneStrip::musicPanelMessage), {},
                                                      "Music (*.mp3 *.m4a *.aac *.wav *.aif *.aiff)");
    if (path.isEmpty()) return;
    const std::string url = QUrl::fromLocalFile(path).toString(QUrl::FullyEncoded).toStdString();
    const std::string name = QFileInfo(path).fileName().toStdString();
    editDocument([&](TweenDocument& document) { SceneStrip::setMusic(document, url, name); });
}

void SceneStripView::rename(std::int64_t index)
{
    const auto item = std::ranges::find_if(items_, [&](const Item& i) { return i.kind == Item::Kind::scene && i.index == index; });
    if (item == items_.end()) return;
    renaming_ = index;
    const int left = item->rect.x() + 5 + thumbnailSize.width() + 3;
    nameField_->setGeometry(left, item->rect.y() + 6, std::max(90, item->rect.right() - left - 4), 24);
    const std::optional<SharedString> name = document_.scenes[static_cast<std::size_t>(index)].name;
    nameField_->setText(name ? words(*name) : QString());
    nameField_->selectAll();
    nameField_->show();
    nameField_->setFocus();
    update();
}

void SceneStripView::finishRename()
{
    const std::optional<std::int64_t> index = std::exchange(renaming_, std::nullopt);
    if (!index) return;
    const std::string name = nameField_->text().toStdString();
    nameField_->hide();
    editDocument([&](TweenDocument& document) { SceneStrip::renameScene(document, *index, name); });
}

void SceneStripView::wheelEvent(QWheelEvent* event)
{
    const int way = event->angleDelta().y() != 0 ? event->angleDelta().y() : event->angleDelta().x();
    const int greatest = std::max(0, contentWidth_ + 200 - width());
    scroll_ = std::clamp(scroll_ - way / 3, 0, greatest);
    layOut();
    update();
}

void SceneStripView::resizeEvent(QResizeEvent*)
{
    layOut();
}

void SceneStripView::leaveEvent(QEvent*)
{
    pointer_ = {-1, -1};
    update();
}

} // namespace larkspool

#include "views/scene_strip_view.h"

#include "editing/scene_lookup.h"
#include "shell/scene_strip.h"
#include "views/icons.h"
#include "views/picture.h"
#include "views/theme.h"
#include "views/transition_popover.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QWheelEvent>

#include <algorithm>
#include <chrono>
#include <utility>

namespace larkspool {

namespace {

constexpr int chipHeight = 36, transitionHeight = 24, musicHeight = 28, padding = 12, gap = 8;
constexpr QSize thumbnailSize(46, 26);
/// Pictures are asked for when nothing has been changed for a moment, so that a drag does not make them over and over.
constexpr std::chrono::milliseconds firstThumbnail{10}, changedThumbnail{250};

QString words(std::string_view text)
{
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

int advance(TextStyle style, const QString& text)
{
    return QFontMetrics(textFont(style)).horizontalAdvance(text);
}

} // namespace

SceneStripView::SceneStripView(EditorContext context, QWidget* parent)
    : Surface(theme().window, parent), context_(std::move(context)), thumbnails_(context_.tasks, [this] { update(); })
{
    setAccessibleName("Scenes");
    setMouseTracking(true);
    setFocusPolicy(Qt::TabFocus); // A click leaves the keyboard where it is.
    nameField_ = new NameField(this);
    nameField_->ended = [this](NameField::End end) { finishRename(end); };
    thumbnailsWanted_.setSingleShot(true);
    connect(&thumbnailsWanted_, &QTimer::timeout, this, [this] { thumbnails_.update(document_.scenes, thumbnailPixels()); });
}

SceneStripView::~SceneStripView()
{
    delete transition_; // Its steps lead here.
}

void SceneStripView::refresh()
{
    // While it plays only the playhead moves, which the strip does not show.
    const bool isFirst = !std::exchange(isShown_, true);
    if (!isFirst && document_ == context_.editor.state().document) return;
    const UUID activeBefore = document_.scene().id;
    document_ = context_.editor.state().document;
    layOut();
    const std::size_t active = document_.clampedActiveSceneIndex();
    const auto isActive = [&](const Item& item) {
        return item.kind == Item::Kind::scene && item.index == static_cast<std::int64_t>(active);
    };
    const auto chip = std::ranges::find_if(items_, isActive);
    if ((isFirst || !(document_.scene().id == activeBefore)) && chip != items_.end()) {
        cursor_ = static_cast<std::size_t>(chip - items_.begin());
        bringIntoView(Item(*chip));
    }
    if (transition_ && transitionIndex_ < static_cast<std::int64_t>(document_.scenes.size()))
        transition_->showTransition(document_.scenes[static_cast<std::size_t>(transitionIndex_)].transition);
    itemsChanged(*this);
    update();
}

int SceneStripView::room() const
{
    return items_.back().rect.left() - padding;
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

    const int farthest = std::max(0, contentWidth_ - room());
    if (scroll_ <= farthest) return;
    // The row has become shorter than what it was scrolled to.
    for (Item& item : items_)
        if (item.kind != Item::Kind::music) item.rect.translate(scroll_ - farthest, 0);
    scroll_ = farthest;
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
            const auto kind = scene.transition ? std::optional(scene.transition->kind) : std::nullopt;
            paintWords(painter, item, transitionIcon(kind), words(SceneStrip::transitionText(scene)));
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
    if (!hasFocus() || !window()->testAttribute(Qt::WA_KeyboardFocusChange) || items_.empty()) return;
    painter.setPen(QPen(theme().focusRing, 2));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(QRectF(items_[cursor()].rect).adjusted(-3, -3, 3, 3), 10, 10);
}

void SceneStripView::paintScene(QPainter& painter, const Item& item)
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
    if (const QImage shown = thumbnail(scene); !shown.isNull())
        painter.drawImage(picture, shown);
    else
        painter.fillRect(picture, t.field);
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
    const bool isTransition =
        item.kind == Item::Kind::transition && document_.scenes[static_cast<std::size_t>(item.index)].transition;
    const QColor rest = isMusic || isTransition ? t.panel : QColor(Qt::transparent);
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

CGSize SceneStripView::thumbnailPixels() const
{
    const QSizeF pixels = QSizeF(thumbnailSize) * devicePixelRatioF();
    return {pixels.width(), pixels.height()};
}

/// A picture of the scene's middle, as it was when the scene had settled last.
QImage SceneStripView::thumbnail(const TweenScene& scene)
{
    const ImageRef known = thumbnails_.picture(scene.id);
    if (!thumbnails_.isUpToDate(scene, thumbnailPixels())) thumbnailsWanted_.start(known ? changedThumbnail : firstThumbnail);
    return known ? asQImage(*known) : QImage();
}

void SceneStripView::editDocument(const std::function<void(TweenDocument&)>& work)
{
    // Tried on a copy: what changes nothing is to end nothing that is under way, and makes no unsaved change.
    TweenDocument tried = context_.editor.state().document;
    work(tried);
    if (tried == context_.editor.state().document) return;
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
    nameField_->finish(NameField::End::kept);
    const Item* item = itemAt(event->pos());
    if (!item || event->button() != Qt::LeftButton) return;
    cursor_ = static_cast<std::size_t>(item - items_.data());
    if (item->kind != Item::Kind::scene) return press(cursor_);
    pressedAt_ = event->pos();
    pressedScene_ = item->index;
}

void SceneStripView::press(std::size_t index)
{
    if (index >= items_.size()) return;
    const Item item = items_[index];
    const QPoint below = mapToGlobal(item.rect.bottomLeft() + QPoint(0, 4));
    switch (item.kind) {
    case Item::Kind::scene: return choose(item.index);
    case Item::Kind::transition: return showTransition(item);
    case Item::Kind::add: return showAddMenu(below);
    case Item::Kind::music: return showMusicMenu(below);
    }
}

std::size_t SceneStripView::cursor() const
{
    return items_.empty() ? 0 : std::min(cursor_, items_.size() - 1);
}

void SceneStripView::bringIntoView(const Item& item)
{
    if (item.kind == Item::Kind::music) return;
    const int left = item.rect.left() - padding, right = item.rect.right() + padding;
    if (left < 0)
        scroll_ += left;
    else if (right > room())
        scroll_ += std::min(right - room(), left);
    layOut();
    itemsChanged(*this);
}

bool SceneStripView::moveCursor(int key)
{
    if (items_.empty()) return false;
    const std::size_t last = items_.size() - 1;
    switch (key) {
    case Qt::Key_Left: cursor_ = cursor() > 0 ? cursor() - 1 : 0; break;
    case Qt::Key_Right: cursor_ = std::min(cursor() + 1, last); break;
    case Qt::Key_Home: cursor_ = 0; break;
    case Qt::Key_End: cursor_ = last; break;
    default: return false;
    }
    bringIntoView(Item(items_[cursor_]));
    update();
    return true;
}

bool SceneStripView::event(QEvent* event)
{
    // The keys that act on a chip are not the window's.
    if (event->type() == QEvent::ShortcutOverride && !nameField_->isOpen()) {
        const int key = static_cast<QKeyEvent*>(event)->key();
        const bool isDelete = key == Qt::Key_Delete || key == Qt::Key_Backspace;
        const bool cancelsDrag = key == Qt::Key_Escape && draggingScene_;
        if (key == Qt::Key_Space || cancelsDrag || (isDelete && items_[cursor()].kind == Item::Kind::scene)) {
            event->accept();
            return true;
        }
    }
    return Surface::event(event);
}

void SceneStripView::keyPressEvent(QKeyEvent* event)
{
    if (items_.empty()) return;
    if (draggingScene_ && event->key() == Qt::Key_Escape) return endDrag();
    const Item item = items_[cursor()];
    const bool isScene = item.kind == Item::Kind::scene;
    const int key = event->key();
    const int step = key == Qt::Key_Left ? -1 : key == Qt::Key_Right ? 1 : 0;
    if (step != 0 && isScene && (event->modifiers() & Qt::AltModifier)) {
        const std::int64_t to = item.index + step;
        if (to < 0 || to >= static_cast<std::int64_t>(document_.scenes.size())) return;
        editDocument([&](TweenDocument& document) { document.moveScene(item.index, SceneStrip::dropIndex(item.index, to)); });
        const auto moved = std::ranges::find_if(items_, [&](const Item& i) { return i.kind == Item::Kind::scene && i.index == to; });
        cursor_ = static_cast<std::size_t>(moved - items_.begin());
        return;
    }
    if (event->modifiers() & (Qt::ControlModifier | Qt::AltModifier)) return Surface::keyPressEvent(event);
    if (moveCursor(key)) return;
    switch (key) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Space: return press(cursor());
    case Qt::Key_F2:
        if (isScene) rename(item.index);
        return;
    case Qt::Key_Delete:
    case Qt::Key_Backspace:
        if (isScene && SceneStrip::canDelete(document_))
            editDocument([&](TweenDocument& document) { document.deleteScene(item.index); });
        return;
    default: Surface::keyPressEvent(event);
    }
}

void SceneStripView::focusInEvent(QFocusEvent*)
{
    itemsChanged(*this);
    update();
}

void SceneStripView::focusOutEvent(QFocusEvent*)
{
    update();
}

std::vector<AccessibleItem> SceneStripView::accessibleItems() const
{
    std::vector<AccessibleItem> result;
    for (std::size_t i = 0; i < items_.size(); ++i) {
        const Item& item = items_[i];
        AccessibleItem shown{.role = item.kind == Item::Kind::scene ? QAccessible::ListItem : QAccessible::ButtonMenu,
                             .rect = item.rect.intersected(rect()),
                             .isSelectable = item.kind == Item::Kind::scene,
                             .hasKeyboard = i == cursor(),
                             .press = [strip = const_cast<SceneStripView*>(this), i] { strip->press(i); }};
        switch (item.kind) {
        case Item::Kind::scene: {
            const std::size_t index = static_cast<std::size_t>(item.index);
            const TweenScene& scene = document_.scenes[index];
            shown.name = QString::fromStdString(scene.displayName(index));
            shown.description = QString("Scene %1 of %2, %3 seconds")
                                    .arg(index + 1)
                                    .arg(document_.scenes.size())
                                    .arg(scene.duration, 0, 'f', 2);
            shown.isSelected = index == document_.clampedActiveSceneIndex();
            break;
        }
        case Item::Kind::transition: {
            const TweenScene& scene = document_.scenes[static_cast<std::size_t>(item.index)];
            shown.name = words(SceneStrip::transitionHeading) + ": " +
                         (scene.transition ? words(larkspool::label(scene.transition->kind)) + ", " : QString()) +
                         words(SceneStrip::transitionText(scene));
            break;
        }
        case Item::Kind::add: shown.name = words(SceneStrip::addSceneLabel); break;
        case Item::Kind::music:
            shown.name = document_.audio ? words(document_.audio->displayName) : words(SceneStrip::musicLabel);
            shown.description = words(SceneStrip::musicHelp);
            break;
        }
        result.push_back(std::move(shown));
    }
    return result;
}

void SceneStripView::mouseMoveEvent(QMouseEvent* event)
{
    pointer_ = event->pos();
    const Item* item = itemAt(pointer_);
    if (pressedAt_ && !draggingScene_ && (pointer_ - *pressedAt_).manhattanLength() >= QApplication::startDragDistance())
        beginDrag();
    if (draggingScene_) {
        if (item && item->kind == Item::Kind::scene) dropOnto_ = item->index;
        scrollAtEdges();
        return update();
    }
    setToolTip(item && item->kind == Item::Kind::music ? words(SceneStrip::musicHelp) : QString());
    update();
}

void SceneStripView::beginDrag()
{
    draggingScene_ = pressedScene_;
    focusBeforeDrag_ = QApplication::focusWidget();
    setFocus(Qt::OtherFocusReason); // For Escape.
}

void SceneStripView::scrollAtEdges()
{
    constexpr int edge = 24, step = 16;
    const int way = pointer_.x() < edge ? -step : pointer_.x() > room() - edge ? step : 0;
    if (way == 0) return;
    scroll_ = std::max(0, scroll_ + way);
    layOut();
    itemsChanged(*this);
}

void SceneStripView::endDrag()
{
    pressedAt_.reset();
    pressedScene_.reset();
    dropOnto_.reset();
    if (std::exchange(draggingScene_, std::nullopt) && focusBeforeDrag_) focusBeforeDrag_->setFocus(Qt::OtherFocusReason);
    update();
}

void SceneStripView::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton || !pressedAt_) return;
    const std::optional<std::int64_t> pressed = pressedScene_, from = draggingScene_, onto = dropOnto_;
    endDrag();
    if (!from && pressed) return choose(*pressed);
    if (from && onto && *onto != *from)
        editDocument([&](TweenDocument& document) { document.moveScene(*from, SceneStrip::dropIndex(*from, *onto)); });
}

void SceneStripView::mouseDoubleClickEvent(QMouseEvent* event)
{
    const Item* item = itemAt(event->pos());
    if (item && item->kind == Item::Kind::scene) rename(item->index);
}

void SceneStripView::contextMenuEvent(QContextMenuEvent* event)
{
    const bool isByKey = event->reason() == QContextMenuEvent::Keyboard && !items_.empty();
    const Item* item = isByKey ? &items_[cursor()] : itemAt(event->pos());
    if (!item || item->kind != Item::Kind::scene) return;
    showSceneMenu(item->index, isByKey ? mapToGlobal(item->rect.bottomLeft()) : event->globalPos());
}

void SceneStripView::showSceneMenu(std::int64_t index, QPoint position)
{
    QMenu menu(this);
    menu.addAction("Rename", this, [this, index] { rename(index); });
    menu.addAction("Duplicate", this, [this, index] {
        choose(index);
        editDocument([](TweenDocument& document) { document.duplicateActiveScene(); });
    });
    menu.addAction("Delete", this, [this, index] {
            editDocument([index](TweenDocument& document) { document.deleteScene(index); });
        })->setEnabled(SceneStrip::canDelete(document_));
    menu.exec(position);
}

void SceneStripView::showAddMenu(QPoint position)
{
    QMenu menu(this);
    const auto offer = [&](const char* icon, std::string_view label, void (*add)(TweenDocument& document)) {
        menu.addAction(buttonIcon(icon), words(label), this, [this, add] {
            editDocument(add);
            if (context_.sceneCreated) context_.sceneCreated();
        });
    };
    offer("plus", SceneStrip::newSceneLabel, [](TweenDocument& document) { document.addScene(); });
    offer("copy", SceneStrip::duplicateSceneLabel, [](TweenDocument& document) { document.duplicateActiveScene(); });
    menu.exec(position);
}

void SceneStripView::showTransition(const Item& item)
{
    delete transition_;
    transitionIndex_ = item.index;
    transition_ = new TransitionPopover(this);
    transition_->chooseKind = [this](std::optional<SceneTransition::Kind> kind) {
        editDocument([&](TweenDocument& document) { SceneStrip::chooseTransition(document, transitionIndex_, kind); });
    };
    transition_->chooseDuration = [this](double seconds) {
        editDocument([&](TweenDocument& document) { SceneStrip::setTransitionDuration(document, transitionIndex_, seconds); });
    };
    transition_->showTransition(document_.scenes[static_cast<std::size_t>(item.index)].transition);
    const QRect beside(item.rect.x(), (height() - chipHeight) / 2, item.rect.width(), chipHeight); // It hides no chip.
    transition_->openAt({mapToGlobal(beside.topLeft()), beside.size()});
}

void SceneStripView::showMusicMenu(QPoint position)
{
    if (!pickMusic) return;
    if (!document_.audio) return pickMusic();
    QMenu menu(this);
    menu.addAction(words(SceneStrip::replaceMusicLabel), this, [this] { pickMusic(); });
    menu.addAction(words(SceneStrip::removeMusicLabel), this,
                   [this] { editDocument([](TweenDocument& document) { document.audio.reset(); }); });
    menu.exec(position);
}

void SceneStripView::rename(std::int64_t index)
{
    const auto item = std::ranges::find_if(items_, [&](const Item& i) { return i.kind == Item::Kind::scene && i.index == index; });
    if (item == items_.end()) return;
    renaming_ = index;
    const int left = item->rect.x() + 5 + thumbnailSize.width() + 3;
    const std::optional<SharedString> name = document_.scenes[static_cast<std::size_t>(index)].name;
    nameField_->open({left, item->rect.y() + 6, std::max(90, item->rect.right() - left - 4), 24}, name ? words(*name) : QString());
    update();
}

void SceneStripView::finishRename(NameField::End end)
{
    const std::optional<std::int64_t> index = std::exchange(renaming_, std::nullopt);
    if (!index) return;
    if (window()->isActiveWindow() && !QApplication::focusWidget()) setFocus();
    update();
    if (end == NameField::End::cancelled) return;
    const std::string name = nameField_->text().toStdString();
    editDocument([&](TweenDocument& document) { SceneStrip::renameScene(document, *index, name); });
}

void SceneStripView::wheelEvent(QWheelEvent* event)
{
    const int way = event->angleDelta().y() != 0 ? event->angleDelta().y() : event->angleDelta().x();
    scroll_ = std::max(0, scroll_ - way / 3);
    layOut();
    itemsChanged(*this);
    update();
}

void SceneStripView::resizeEvent(QResizeEvent*)
{
    layOut();
    itemsChanged(*this);
}

void SceneStripView::leaveEvent(QEvent*)
{
    pointer_ = {-1, -1};
    update();
}

} // namespace larkspool

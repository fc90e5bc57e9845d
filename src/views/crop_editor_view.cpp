#include "views/crop_editor_view.h"

#include "rendering/media_crop.h"
#include "views/input.h"
#include "views/picture.h"
#include "views/tabular_text.h"
#include "views/theme.h"

#include <QApplication>
#include <QBoxLayout>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QPointer>

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace larkspool {

namespace {

constexpr double margin = 28, labelHeight = 70;
constexpr double frameWidth = 1.5, chosenFrameWidth = 2.5, handleSize = 8, chosenHandleSize = 10, handleCorner = 2;
constexpr double checkSide = 8;
constexpr QSize leastCard(560, 280), mostCard(1120, 760);
constexpr int besideCard = 96, aboveCard = 48, aroundView = 124; ///< Around the view are the title and the buttons.
constexpr QSize mostShown(2 * mostCard.width(), 2 * mostCard.height());

const char* const loadingText = "The picture is being read…";
const char* const keysHelp = ": arrow keys move it by 1 px, with Shift by 10. Click a handle, or press Tab, to choose it.";
const char* const missingText = "The picture cannot be read. Close this, and replace the file or connect it again.";

/// In the order of Tab: first all of it, then round the frame.
constexpr std::array tabOrder = {CropHandle::body, CropHandle::nw, CropHandle::n,  CropHandle::ne, CropHandle::e,
                                 CropHandle::se,   CropHandle::s,  CropHandle::sw, CropHandle::w};

QRectF asQRect(const CGRect& rect)
{
    return {rect.minX(), rect.minY(), rect.size.width, rect.size.height};
}

CGSize asSize(QSize size)
{
    return {size.width() * 1.0, size.height() * 1.0};
}

Qt::CursorShape cursorShape(CropHandle handle)
{
    switch (handle) {
    case CropHandle::nw:
    case CropHandle::se: return Qt::SizeFDiagCursor;
    case CropHandle::ne:
    case CropHandle::sw: return Qt::SizeBDiagCursor;
    case CropHandle::n:
    case CropHandle::s: return Qt::SizeVerCursor;
    case CropHandle::e:
    case CropHandle::w: return Qt::SizeHorCursor;
    case CropHandle::body: return Qt::SizeAllCursor;
    }
    return Qt::ArrowCursor;
}

std::optional<ArrowKey> arrowKey(int key)
{
    switch (key) {
    case Qt::Key_Left: return ArrowKey::left;
    case Qt::Key_Right: return ArrowKey::right;
    case Qt::Key_Up: return ArrowKey::up;
    case Qt::Key_Down: return ArrowKey::down;
    default: return std::nullopt;
    }
}

/// What shows through where a picture is clear.
void paintChecks(QPainter& painter, const QRectF& rect)
{
    painter.save();
    painter.setClipRect(rect);
    painter.fillRect(rect, theme().panel);
    for (int row = 0; row * checkSide < rect.height(); ++row)
        for (int column = row % 2; column * checkSide < rect.width(); column += 2)
            painter.fillRect(QRectF(rect.left() + column * checkSide, rect.top() + row * checkSide, checkSide, checkSide),
                             theme().hover);
    painter.restore();
}

void paintHandle(QPainter& painter, CGPoint middle, bool isChosen)
{
    const double size = isChosen ? chosenHandleSize : handleSize;
    painter.setPen(QPen(isChosen ? QColor(Qt::white) : theme().selectionOutline, frameWidth));
    painter.setBrush(isChosen ? theme().accent : QColor(Qt::white));
    painter.drawRoundedRect(QRectF(middle.x - size / 2, middle.y - size / 2, size, size), handleCorner, handleCorner);
}

QImage shownOf(const ImageRef& preview)
{
    if (!preview) return {};
    const QImage whole = seenInPlace(preview->pixels());
    const bool isLarge = whole.width() > mostShown.width() || whole.height() > mostShown.height();
    return isLarge ? whole.scaled(mostShown, Qt::KeepAspectRatio, Qt::SmoothTransformation) : whole.copy();
}

} // namespace

CropView::CropView(CropEditorSheet& sheet, QWidget* parent) : QWidget(parent), sheet_(sheet)
{
    setAccessibleName("Crop Frame");
    setFocusPolicy(Qt::StrongFocus);
    setMouseTracking(true);
}

void CropView::showPicture(QImage picture)
{
    picture_ = std::move(picture);
    place();
    refresh();
}

void CropView::refresh()
{
    setAccessibleDescription(measures());
    itemsChanged(*this);
    update();
}

QRectF CropView::labelRect() const
{
    return {0, height() - labelHeight, width() * 1.0, labelHeight};
}

QRectF CropView::pictureRect() const
{
    return asQRect(overlay().imgRect);
}

void CropView::place()
{
    scaled_ = {};
    overlay().imgRect = {};
    if (!overlay().preview) return;
    const QRectF room(margin, margin, width() - 2 * margin, height() - margin - labelHeight);
    const CGSize size = overlay().preview->size();
    if (room.isEmpty() || size.width <= 0 || size.height <= 0) return;
    const double scale = std::min(room.width() / size.width, room.height() / size.height);
    const double w = std::max(std::round(size.width * scale), 1.0), h = std::max(std::round(size.height * scale), 1.0);
    overlay().imgRect = {{std::round(room.center().x() - w / 2), std::round(room.center().y() - h / 2)}, {w, h}};
}

void CropView::resizeEvent(QResizeEvent*)
{
    place();
}

void CropView::select(CropHandle handle)
{
    overlay().selectedHandle = handle;
    refresh();
}

bool CropView::focusNextPrevChild(bool next)
{
    const auto now = std::ranges::find(tabOrder, overlay().selectedHandle.value_or(CropHandle::body)) - tabOrder.begin();
    const auto to = now + (next ? 1 : -1);
    if (!hasFocus() || to < 0 || to >= std::ssize(tabOrder)) return QWidget::focusNextPrevChild(next);
    window()->setAttribute(Qt::WA_KeyboardFocusChange);
    select(tabOrder[static_cast<std::size_t>(to)]);
    return true;
}

void CropView::focusInEvent(QFocusEvent* event)
{
    if (event->reason() == Qt::TabFocusReason) select(tabOrder.front());
    if (event->reason() == Qt::BacktabFocusReason) select(tabOrder.back());
    update();
}

void CropView::focusOutEvent(QFocusEvent*)
{
    update();
}

void CropView::showCursor(std::optional<CropHandle> handle)
{
    setCursor(handle ? cursorShape(*handle) : Qt::ArrowCursor);
}

void CropView::mousePressEvent(QMouseEvent* event)
{
    const std::optional<CropHandle> handle = overlay().handleAt(asPoint(event->position()));
    if (event->button() != Qt::LeftButton || !overlay().preview || !handle) return;
    overlay().beginDrag(*handle, asPoint(event->position()));
    refresh();
}

void CropView::mouseMoveEvent(QMouseEvent* event)
{
    if (overlay().activeHandle) {
        overlay().drag(asPoint(event->position()));
        return refresh();
    }
    showCursor(overlay().preview ? overlay().handleAt(asPoint(event->position())) : std::nullopt);
}

void CropView::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton) return;
    overlay().endDrag();
    refresh();
}

void CropView::leaveEvent(QEvent*)
{
    if (!overlay().activeHandle) unsetCursor();
}

std::vector<AccessibleItem> CropView::accessibleItems() const
{
    std::vector<AccessibleItem> items;
    if (!overlay().preview) return items;
    const CropHandle selected = overlay().selectedHandle.value_or(CropHandle::body);
    for (const CropHandle handle : tabOrder) {
        const CGPoint middle = overlay().handlePoint(handle);
        const QRectF rect = handle == CropHandle::body
                                ? asQRect(overlay().frame())
                                : QRectF(middle.x - handleSize / 2, middle.y - handleSize / 2, handleSize, handleSize);
        items.push_back({.name = inWords(larkspool::label(handle)),
                         .description = measures(),
                         .rect = rect.toAlignedRect(),
                         .isSelected = handle == selected,
                         .hasKeyboard = handle == selected,
                         .press = [view = const_cast<CropView*>(this), handle] { view->select(handle); }});
    }
    return items;
}

/// The pixels that the crop leaves: "1080 × 640 px at 120, 80".
QString CropView::measures() const
{
    if (!overlay().preview) return {};
    const CGSize size = overlay().preview->size();
    const std::optional<CGRect> left = croppedPixels(manualCropRect(sheet_.crop(), size), size);
    if (!left) return {};
    return QString("%1 × %2 px at %3, %4").arg(left->size.width).arg(left->size.height).arg(left->minX()).arg(left->minY());
}

void CropView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillRect(rect(), theme().backdrop);
    if (!overlay().preview) return paintMessage(painter);
    paintPicture(painter);
    paintCrop(painter);
    paintLabel(painter);
    paintMagnifier(painter);
}

void CropView::paintMessage(QPainter& painter) const
{
    painter.setPen(theme().textSecondary);
    painter.setFont(textFont(TextStyle::body));
    painter.drawText(rect().adjusted(24, 24, -24, -24), Qt::AlignCenter | Qt::TextWordWrap,
                     sheet_.loading() ? loadingText : missingText);
}

void CropView::paintPicture(QPainter& painter)
{
    const QRectF place = pictureRect();
    if (scaled_.isNull()) {
        const double ratio = devicePixelRatioF();
        const QSize pixels = (place.size() * ratio).toSize().expandedTo(QSize(1, 1));
        const bool isEnlarged = pixels.width() > 2 * picture_.width(); // Pixels that are this large are shown as such.
        scaled_ = QPixmap::fromImage(
            picture_.scaled(pixels, Qt::IgnoreAspectRatio, isEnlarged ? Qt::FastTransformation : Qt::SmoothTransformation));
        scaled_.setDevicePixelRatio(ratio);
    }
    if (!overlay().preview->isOpaque()) paintChecks(painter, place);
    painter.drawPixmap(place.topLeft(), scaled_);
}

void CropView::paintCrop(QPainter& painter) const
{
    const QRectF frame = asQRect(overlay().frame());
    QPainterPath outside;
    outside.addRect(pictureRect());
    outside.addRect(frame);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(0, 0, 0, 150));
    painter.drawPath(outside);

    const CropHandle selected = overlay().selectedHandle.value_or(CropHandle::body);
    const bool isWhole = selected == CropHandle::body;
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(theme().selectionOutline, isWhole && overlay().selectedHandle ? chosenFrameWidth : frameWidth));
    painter.drawRect(frame);
    for (const CropHandle handle : tabOrder)
        if (handle != CropHandle::body && handle != selected)
            paintHandle(painter, overlay().handlePoint(handle), /*isChosen=*/false);
    if (!isWhole) paintHandle(painter, overlay().handlePoint(selected), /*isChosen=*/true);
    if (!hasFocus() || !window()->testAttribute(Qt::WA_KeyboardFocusChange)) return;
    painter.setPen(QPen(theme().focusRing, 2));
    painter.setBrush(Qt::NoBrush);
    const CGPoint middle = overlay().handlePoint(selected);
    const double reach = chosenHandleSize / 2 + 3;
    painter.drawRoundedRect(
        isWhole ? frame.adjusted(-4, -4, 4, 4) : QRectF(middle.x - reach, middle.y - reach, 2 * reach, 2 * reach), 4, 4);
}

void CropView::paintLabel(QPainter& painter) const
{
    const QRectF rect = labelRect();
    painter.setPen(theme().text);
    painter.setFont(textFont(TextStyle::value));
    paintTabular(painter, {rect.left(), rect.top() + 16, rect.width(), 20}, Qt::AlignHCenter, measures());
    QString words =
        inWords(larkspool::label(overlay().activeHandle.value_or(overlay().selectedHandle.value_or(CropHandle::body))));
    if (!overlay().activeHandle) words += keysHelp;
    painter.setPen(theme().textSecondary);
    painter.setFont(textFont(TextStyle::caption));
    painter.drawText(QRectF(rect.left(), rect.top() + 38, rect.width(), 18), Qt::AlignCenter, words);
}

void CropView::paintMagnifier(QPainter& painter) const
{
    if (!overlay().dragLocation) return;
    const std::optional<CropMagnifier> magnifier = overlay().magnifier(*overlay().dragLocation, asSize(size()));
    if (!magnifier) return;
    const QRectF square = asQRect(magnifier->square), whole = asQRect(magnifier->picture), seen = square.intersected(whole);
    const Image& source = *overlay().preview;
    const double across = source.width() / whole.width(), down = source.height() / whole.height();
    painter.save();
    QPainterPath circle;
    circle.addEllipse(square);
    painter.setClipPath(circle);
    painter.fillRect(square, theme().backdrop);
    if (!source.isOpaque()) paintChecks(painter, seen);
    painter.setRenderHint(QPainter::SmoothPixmapTransform, /*on=*/false);
    painter.drawImage(seen, seenInPlace(source.pixels()),
                      QRectF((seen.left() - whole.left()) * across, (seen.top() - whole.top()) * down, seen.width() * across,
                             seen.height() * down));
    const QPointF middle = square.center();
    for (const auto& [color, width] : {std::pair{QColor(0, 0, 0, 120), 3}, {QColor(Qt::white), 1}}) {
        painter.fillRect(QRectF(square.left(), middle.y() - width / 2.0, square.width(), width), color);
        painter.fillRect(QRectF(middle.x() - width / 2.0, square.top(), width, square.height()), color);
    }
    painter.restore();
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(theme().hairlineStrong, 2));
    painter.drawEllipse(square.adjusted(1, 1, -1, -1));
}

CropEditorSheetView::CropEditorSheetView(QWidget& window, CropEditorSheet sheet, const Steps& steps)
    : FormSheet(window, {inWords(CropEditorSheet::title), "Done"}), sheet_(std::move(sheet))
{
    confirmed = [this] { sheet_.done(); };
    cancelled = [this] {
        if (!sheet_.overlay().activeHandle) return sheet_.cancel();
        sheet_.overlay().cancelDrag();
        view_->refresh();
    };
    form().setContentsMargins(0, 0, 0, 0);
    view_ = new CropView(sheet_, body());
    addWide(view_);
    reset_ = addButton("Reset");
    reset_->setToolTip("Shows the whole picture.");
    connect(reset_, &QPushButton::clicked, this, [this] {
        sheet_.reset();
        view_->refresh();
    });
    qApp->installEventFilter(this);
    fitCard();
    loadPreview(steps);
}

void CropEditorSheetView::present()
{
    Sheet::present(view_);
}

void CropEditorSheetView::fitCard()
{
    const QSize room = parentWidget()->size() - QSize(besideCard, aboveCard + aroundView);
    const QSize size = room.boundedTo(mostCard).expandedTo(leastCard);
    card()->setFixedWidth(size.width());
    view_->setFixedHeight(size.height());
}

void CropEditorSheetView::resizeEvent(QResizeEvent* event)
{
    FormSheet::resizeEvent(event);
    fitCard();
}

void CropEditorSheetView::loadPreview(const Steps& steps)
{
    showObstacle(loadingText);
    reset_->setEnabled(false);
    steps.tasks.detach([steps, view = QPointer(this)] {
        ImageRef preview;
        QImage picture;
        try {
            preview = steps.preview();
            picture = shownOf(preview);
        } catch (const std::exception&) {
            preview = nullptr; // A picture that does not fit into memory is none.
        }
        steps.tasks.onMain([view, preview, picture] {
            if (view) view->showPreview(preview, picture);
        });
    });
}

void CropEditorSheetView::showPreview(ImageRef preview, QImage picture)
{
    const bool isThere = preview && !picture.isNull();
    sheet_.showPreview(isThere ? std::move(preview) : nullptr);
    view_->showPicture(std::move(picture));
    showObstacle(isThere ? "" : missingText);
    reset_->setEnabled(isThere);
    reset_->setToolTip(isThere ? "Shows the whole picture." : missingText);
}

bool CropEditorSheetView::eventFilter(QObject* watched, QEvent* event)
{
    // Arrow keys act wherever the keyboard is in the sheet, ahead of buttons that would pass it on.
    const auto* widget = qobject_cast<QWidget*>(watched);
    const bool isOurs = widget && isVisible() && event->type() == QEvent::KeyPress && (widget == this || isAncestorOf(widget));
    if (!isOurs) return FormSheet::eventFilter(watched, event);
    const auto* key = static_cast<QKeyEvent*>(event);
    if (!sheet_.keyDown(arrowKey(key->key()), asModifiers(key->modifiers()))) return FormSheet::eventFilter(watched, event);
    view_->refresh();
    return true;
}

} // namespace larkspool

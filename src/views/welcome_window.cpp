#include "views/welcome_window.h"

#include "rendering/frame_composition.h"
#include "shell/document_file.h"
#include "views/controls.h"
#include "views/custom_size_view.h"
#include "views/form_controls.h"
#include "views/icons.h"
#include "views/picture.h"
#include "views/sheet.h"
#include "views/tabular_text.h"
#include "views/theme.h"

#include <QBoxLayout>
#include <QDateTime>
#include <QFileInfo>
#include <QGridLayout>
#include <QKeyEvent>
#include <QLocale>
#include <QPainter>
#include <QPainterPath>
#include <QScrollArea>
#include <QStyleOption>
#include <QWindow>

#include <algorithm>
#include <utility>

namespace larkspool {

namespace {

constexpr QSize windowSize(960, 624), pictureSize(46, 26);
constexpr int greetingWidth = 336, cardHeight = 64, cardColumns = 3, rowHeight = 40, footHeight = 52;
constexpr int columnMargin = 32, rowInset = 8; ///< So far rows of documents reach beyond the column, where their text stands.
constexpr double quietInk = 0.92; ///< Of the text on the accent that is less than a title. It keeps a contrast of 4.5.
/// The program's sign lies on the accent here, in both themes.
constexpr QRgb signGround = 0xFF1B2150, signDiamond = 0xFFF4B740;
constexpr std::int64_t largestPictured = 16 << 20; ///< Bytes. Larger documents take too long to read for a picture of them.

QString words(std::string_view text)
{
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

QString iconOf(std::string_view symbol)
{
    if (symbol == "rectangle.stack") return "panel-scenes";
    return symbol == "diamond" ? "keyframe" : "pulse";
}

QString whenChanged(const QFileInfo& file)
{
    if (!file.exists()) return "Not found";
    const QDateTime time = file.lastModified();
    const QDate today = QDate::currentDate();
    if (time.date() == today) return "Today, " + time.toString("HH:mm");
    if (time.date() == today.addDays(-1)) return "Yesterday";
    return QLocale(QLocale::English).toString(time.date(), time.date().year() == today.year() ? "d MMMM" : "d MMMM yyyy");
}

/// The middle of the first scene. Null for what cannot be read. On any thread.
QImage pictureOf(const std::string& path)
{
    try {
        const TweenDocument document = DocumentFile::open(path).saved();
        if (document.scenes.empty()) return {};
        const TweenScene& scene = document.scenes.front();
        const auto pixels = Exporter::renderSceneToImage(scene, scene.duration * 0.5,
                                                         {pictureSize.width() * 2.0, pictureSize.height() * 2.0});
        return pixels ? seenInPlace(*pixels).copy() : QImage();
    } catch (const std::exception&) {
        return {};
    }
}

bool showsKeyboard(const QWidget& widget)
{
    QStyleOption option;
    option.initFrom(&widget);
    return widget.hasFocus() && (option.state & QStyle::State_KeyboardFocusChange);
}

/// A label in the colours of what is filled with the accent.
QLabel* labelOnAccent(std::string_view text, TextStyle style, double strength, QWidget* parent)
{
    QLabel* result = paragraph(words(text), style, LabelTone::text, parent);
    QColor color = theme().textOnAccent;
    color.setAlphaF(static_cast<float>(strength));
    QPalette palette = result->palette();
    palette.setColor(QPalette::WindowText, color);
    result->setPalette(palette);
    return result;
}

/// The coloured side of the window, with curves of a timeline in its lower part.
class Greeting final : public QWidget {
public:
    using QWidget::QWidget;

protected:
    void paintEvent(QPaintEvent*) override
    {
        const Theme& t = theme();
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        QLinearGradient ground(QPointF(), QPointF(width() * 0.26, height()));
        ground.setColorAt(0, t.accent);
        ground.setColorAt(1, t.accentPressed);
        painter.fillRect(rect(), ground);

        painter.translate(0, height() - 150);
        paintCurve(painter, 84, 128, 0.28);
        paintCurve(painter, 104, 139, 0.12);
        paintCurve(painter, 64, 117, 0.12);
        painter.setPen(Qt::NoPen);
        painter.setBrush(QColor(signDiamond));
        for (const QPointF& center : {QPointF(74, 128), QPointF(204, 44)})
            painter.drawPolygon(QPolygonF({center - QPointF(0, 8), center + QPointF(8, 0), center + QPointF(0, 8),
                                           center - QPointF(8, 0)}));
    }

private:
    void paintCurve(QPainter& painter, double flat, double y, double strength)
    {
        QColor color = theme().textOnAccent;
        color.setAlphaF(static_cast<float>(strength));
        const double bend = -10 + flat;
        QPainterPath path({-10, y});
        path.lineTo(bend, y);
        path.cubicTo(bend + 70, y, bend + 60, y - 84, bend + 130, y - 84);
        path.lineTo(width() + 10, y - 84);
        painter.strokePath(path, QPen(color, 2));
    }
};

/// A highlight's sign on a light square.
class Sign final : public QWidget {
public:
    Sign(QString icon, QWidget* parent) : QWidget(parent), icon_(std::move(icon)) { setFixedSize(32, 32); }

protected:
    void paintEvent(QPaintEvent*) override
    {
        QColor ground = theme().textOnAccent;
        ground.setAlphaF(0.12F);
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(ground);
        painter.drawRoundedRect(rect(), 8, 8);
        painter.drawPixmap(7, 7, iconPixmap(icon_, 18, theme().textOnAccent, devicePixelRatioF()));
    }

private:
    QString icon_;
};

} // namespace

/// A size of canvas, with its shape; or the way to another size.
class WelcomeWindow::Card final : public QPushButton {
public:
    Card(std::string_view wholeLabel, std::optional<CGSize> size, QWidget* parent) : QPushButton(parent), size_(size)
    {
        const QStringList halves = words(wholeLabel).split(" — ");
        name_ = halves.front();
        measures_ = halves.size() > 1 ? halves.back() : QString();
        setAccessibleName(words(wholeLabel));
        setFixedHeight(cardHeight);
        setFocusPolicy(Qt::StrongFocus);
        setAttribute(Qt::WA_Hover);
    }

    std::function<void(int key)> onArrow;

protected:
    void keyPressEvent(QKeyEvent* event) override
    {
        switch (event->key()) {
        case Qt::Key_Return:
        case Qt::Key_Enter: return click();
        case Qt::Key_Left:
        case Qt::Key_Right:
        case Qt::Key_Up:
        case Qt::Key_Down: return onArrow(event->key());
        default: QPushButton::keyPressEvent(event);
        }
    }

    void paintEvent(QPaintEvent*) override
    {
        const Theme& t = theme();
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(size_ ? QPen(Qt::NoPen) : QPen(t.hairlineStrong, 1));
        const QColor rest = size_ ? t.field : t.panel;
        painter.setBrush(isDown() ? t.pressed : underMouse() || hasFocus() ? t.fieldHover : rest);
        painter.drawRoundedRect(size_ ? QRectF(rect()) : QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), 8, 8);
        paintShape(painter);

        painter.setPen(t.text);
        painter.setFont(textFont(TextStyle::bodyMedium));
        const QRect place = rect().adjusted(50, 0, -8, 0);
        if (measures_.isEmpty()) {
            painter.drawText(place, Qt::AlignVCenter | Qt::AlignLeft, name_);
        } else {
            painter.drawText(place.adjusted(0, 16, 0, 0), Qt::AlignTop | Qt::AlignLeft, name_);
            painter.setPen(t.textSecondary);
            painter.setFont(textFont(TextStyle::caption));
            paintTabular(painter, QRectF(place.x(), 32, place.width(), 16), Qt::AlignLeft, measures_);
        }
        if (!hasFocus()) return;
        painter.setPen(QPen(t.focusRing, 1.5));
        painter.setBrush(Qt::NoBrush);
        painter.drawRoundedRect(QRectF(rect()).adjusted(0.75, 0.75, -0.75, -0.75), 8, 8);
    }

private:
    void paintShape(QPainter& painter) const
    {
        const Theme& t = theme();
        const QColor color = hasFocus() ? t.accentText : t.icon;
        const QPointF middle(26, height() / 2.0);
        if (!size_) return painter.drawPixmap(18, (height() - 16) / 2, iconPixmap("plus", 16, color, devicePixelRatioF()));
        const QSizeF shape = QSizeF(size_->width, size_->height).scaled(26, 26, Qt::KeepAspectRatio);
        painter.setPen(QPen(color, 1.5));
        painter.setBrush(Qt::NoBrush);
        const QRectF frame(middle.x() - shape.width() / 2, middle.y() - shape.height() / 2, shape.width(), shape.height());
        painter.drawRoundedRect(frame.adjusted(0.75, 0.75, -0.75, -0.75), 3, 3);
    }

    QString name_, measures_;
    std::optional<CGSize> size_;
};

/// A document of late: its picture, its name and when it was changed.
class WelcomeWindow::RecentRow final : public QPushButton {
public:
    RecentRow(const std::string& path, QWidget* parent)
        : QPushButton(parent), name_(QFileInfo(QString::fromStdString(path)).completeBaseName()),
          when_(whenChanged(QFileInfo(QString::fromStdString(path))))
    {
        setAccessibleName(name_ + ", " + when_);
        setToolTip(QString::fromStdString(path));
        setFixedHeight(rowHeight);
        setFocusPolicy(Qt::StrongFocus);
        setAttribute(Qt::WA_Hover);
    }

    void show(QImage picture)
    {
        picture_ = std::move(picture);
        update();
    }

protected:
    void keyPressEvent(QKeyEvent* event) override
    {
        switch (event->key()) {
        case Qt::Key_Return:
        case Qt::Key_Enter: return click();
        case Qt::Key_Up: focusNextPrevChild(false); return;
        case Qt::Key_Down: focusNextPrevChild(true); return;
        default: QPushButton::keyPressEvent(event);
        }
    }

    void paintEvent(QPaintEvent*) override
    {
        const Theme& t = theme();
        QPainter painter(this);
        painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
        painter.setPen(Qt::NoPen);
        painter.setBrush(isDown() ? t.pressed : underMouse() || showsKeyboard(*this) ? t.hover : t.panel);
        painter.drawRoundedRect(rect(), 6, 6);

        const QRect picture(QPoint(8, (height() - pictureSize.height()) / 2), pictureSize);
        QPainterPath corners;
        corners.addRoundedRect(picture, 4, 4);
        painter.fillPath(corners, t.field);
        if (!picture_.isNull()) {
            painter.setClipPath(corners);
            painter.drawImage(picture, picture_);
            painter.setClipping(false);
        }
        painter.setFont(textFont(TextStyle::body));
        painter.setPen(t.textSecondary);
        painter.drawText(rect().adjusted(0, 0, -8, 0), Qt::AlignVCenter | Qt::AlignRight, when_);
        const int taken = painter.fontMetrics().horizontalAdvance(when_) + 16;
        const QRect place = rect().adjusted(picture.right() + 13, 0, -8 - taken, 0);
        painter.setFont(textFont(TextStyle::bodyMedium));
        painter.setPen(t.text);
        painter.drawText(place, Qt::AlignVCenter | Qt::AlignLeft,
                         painter.fontMetrics().elidedText(name_, Qt::ElideMiddle, place.width()));
        if (!showsKeyboard(*this)) return;
        painter.setPen(QPen(t.focusRing, 1.5));
        painter.setBrush(Qt::NoBrush);
        painter.drawRoundedRect(QRectF(rect()).adjusted(0.75, 0.75, -0.75, -0.75), 6, 6);
    }

private:
    QString name_, when_;
    QImage picture_;
};

WelcomeWindow::WelcomeWindow(Services services)
    : services_(std::move(services)), view_({.defaults = services_.defaults,
                                             .openUntitledDocument = services_.openUntitledDocument,
                                             .openDocument = services_.openDocument,
                                             .dismissWelcome = [this] { close(); },
                                             .openingChanged = [this] { showOpening(); }})
{
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowFlag(Qt::FramelessWindowHint);
    setWindowTitle("Welcome to Larkspool");
    setFixedSize(windowSize);
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(0);
    row->addWidget(buildGreeting());
    row->addWidget(buildChoices(), 1);
    cards_.front()->setFocus();
    makePictures();
}

WelcomeWindow::~WelcomeWindow()
{
    *isGone_ = true;
}

QWidget* WelcomeWindow::buildGreeting()
{
    auto* side = new Greeting(this);
    side->setFixedWidth(greetingWidth);
    auto* column = new QVBoxLayout(side);
    column->setContentsMargins(32, 44, 32, 32);
    column->setSpacing(0);
    auto* mark = new QLabel(side);
    mark->setPixmap(iconPixmap("mark", 56, QColor(signGround), devicePixelRatioF()));
    column->addWidget(mark);
    column->addSpacing(20);
    column->addWidget(labelOnAccent(WelcomeView::productName, TextStyle::display, 1, side));
    column->addSpacing(4);
    column->addWidget(labelOnAccent(WelcomeView::tagline, TextStyle::dialogBody, quietInk, side));
    column->addSpacing(32);
    for (const WelcomeView::Highlight& highlight : WelcomeView::highlights) {
        auto* row = new QHBoxLayout;
        row->setSpacing(12);
        row->addWidget(new Sign(iconOf(highlight.symbol), side), 0, Qt::AlignTop);
        auto* text = new QVBoxLayout;
        text->setSpacing(2);
        text->addWidget(labelOnAccent(highlight.title, TextStyle::section, 1, side));
        text->addWidget(labelOnAccent(highlight.text, TextStyle::body, quietInk, side));
        row->addLayout(text, 1);
        column->addLayout(row);
        column->addSpacing(24);
    }
    column->addStretch(1);
    return side;
}

QWidget* WelcomeWindow::buildChoices()
{
    auto* side = new QWidget(this);
    auto* whole = new QVBoxLayout(side);
    whole->setContentsMargins(0, 0, 0, 0);
    whole->setSpacing(0);
    auto* column = new QVBoxLayout;
    column->setContentsMargins(columnMargin - rowInset, 28, columnMargin - rowInset, 0);
    column->setSpacing(0);
    whole->addLayout(column, 1);
    buildPresets(*column);
    buildRecents(*column);
    buildFoot(*whole);
    return side;
}

void WelcomeWindow::buildPresets(QBoxLayout& column)
{
    auto* head = new QHBoxLayout;
    head->setContentsMargins(rowInset, 0, rowInset, 0);
    head->addWidget(label(words(WelcomeView::newDocumentHeading), TextStyle::title, LabelTone::text, this), 1);
    QToolButton* closing = iconButton("close", "Close", this);
    connect(closing, &QToolButton::clicked, this, [this] { close(); });
    head->addWidget(closing);
    column.addLayout(head);
    column.addSpacing(12);

    auto* grid = new QGridLayout;
    grid->setContentsMargins(rowInset, 0, rowInset, 0);
    grid->setSpacing(8);
    const auto add = [this, grid](Card* card) {
        const int index = static_cast<int>(cards_.size());
        grid->addWidget(card, index / cardColumns, index % cardColumns);
        card->onArrow = [this, card](int key) { moveAmongCards(card, key); };
        cards_.push_back(card);
    };
    for (const CanvasPreset& preset : canvasPresets) {
        auto* card = new Card(preset.label, preset.size(), this);
        connect(card, &QPushButton::clicked, this, [this, size = preset.size()] { view_.createDocument(size); });
        add(card);
    }
    auto* custom = new Card(WelcomeView::customSizeLabel, std::nullopt, this);
    connect(custom, &QPushButton::clicked, this, [this] { askForSize(); });
    add(custom);
    for (int i = 0; i < cardColumns; ++i) grid->setColumnStretch(i, 1);
    column.addLayout(grid);
    setTabOrder(cards_.back(), closing);
}

void WelcomeWindow::buildRecents(QBoxLayout& column)
{
    auto* head = new QHBoxLayout;
    head->setContentsMargins(rowInset, 0, 0, 0);
    head->addWidget(label(words(WelcomeView::recentHeading), TextStyle::title, LabelTone::text, this), 1);
    QPushButton* open = wordButton("Open…", ButtonRole::plain, this);
    open->setFlat(true);
    open->setIcon(buttonIcon("folder"));
    QPalette quiet = open->palette();
    quiet.setColor(QPalette::ButtonText, theme().textSecondary);
    open->setPalette(quiet);
    connect(open, &QPushButton::clicked, this, [this] {
        const QString path = services_.askForDocument();
        if (!path.isEmpty()) view_.openRecent(path.toStdString());
    });
    head->addWidget(open);
    column.addSpacing(28);
    column.addLayout(head);
    column.addSpacing(8);

    if (services_.recents.paths().empty()) {
        QLabel* none = label("Documents that you open or save appear here.", TextStyle::body, LabelTone::secondary, this);
        none->setContentsMargins(rowInset, 0, 0, 0);
        column.addWidget(none);
        column.addStretch(1);
        return;
    }
    auto* list = new QWidget;
    auto* rows = new QVBoxLayout(list);
    rows->setContentsMargins(0, 0, 0, 0);
    rows->setSpacing(0);
    for (const std::string& path : services_.recents.paths()) {
        auto* row = new RecentRow(path, list);
        connect(row, &QPushButton::clicked, this, [this, path] { view_.openRecent(path); });
        rows->addWidget(row);
        rows_.push_back(row);
    }
    rows->addStretch(1);
    auto* scroll = new QScrollArea(this);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setFocusPolicy(Qt::NoFocus);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroll->setWidgetResizable(true);
    scroll->setWidget(list);
    column.addWidget(scroll, 1);
}

void WelcomeWindow::buildFoot(QBoxLayout& column)
{
    column.addWidget(hairline(Qt::Horizontal, this));
    auto* foot = new QHBoxLayout;
    foot->setContentsMargins(columnMargin - Switch::ringRoom, 0, columnMargin, 0);
    foot->setSpacing(4);
    auto* toggle = new Switch(words(WelcomeView::showOnLaunchLabel), this);
    toggle->setFixedHeight(footHeight);
    toggle->setChecked(view_.showsOnLaunch());
    connect(toggle, &QCheckBox::clicked, this, [this](bool isOn) { view_.setShowsOnLaunch(isOn); });
    foot->addWidget(toggle);
    foot->addWidget(label(words(WelcomeView::showOnLaunchLabel), TextStyle::body, LabelTone::text, this), 1);
    opening_ = label({}, TextStyle::body, LabelTone::secondary, this);
    foot->addWidget(opening_);
    column.addLayout(foot);
}

void WelcomeWindow::moveAmongCards(QWidget* card, int key)
{
    const auto at = std::ranges::find(cards_, card) - cards_.begin();
    const std::ptrdiff_t distance = key == Qt::Key_Left || key == Qt::Key_Right ? 1 : cardColumns;
    const std::ptrdiff_t to = at + (key == Qt::Key_Left || key == Qt::Key_Up ? -distance : distance);
    if (to >= 0 && to < std::ssize(cards_))
        cards_[static_cast<std::size_t>(to)]->setFocus(Qt::TabFocusReason);
    else if (key == Qt::Key_Down && !rows_.empty())
        rows_.front()->setFocus(Qt::TabFocusReason);
}

void WelcomeWindow::askForSize()
{
    view_.customSheetVisible = true;
    auto* sheet = new CustomSizeSheetView(*this, [this](std::optional<double> width, std::optional<double> height) {
        view_.finishCustomSize(width, height);
    });
    sheet->present();
}

void WelcomeWindow::makePictures()
{
    std::vector<std::string> paths;
    for (const std::string& path : services_.recents.paths())
        paths.push_back(QFileInfo(QString::fromStdString(path)).size() <= largestPictured ? path : std::string());
    if (paths.empty()) return;
    services_.tasks.detach([this, paths = std::move(paths), isGone = isGone_, onMain = services_.tasks.onMain] {
        for (std::size_t i = 0; i < paths.size() && !*isGone; ++i)
            onMain([this, i, isGone, picture = pictureOf(paths[i])] {
                if (!*isGone) rows_[i]->show(picture);
            });
    });
}

void WelcomeWindow::showOpening()
{
    const QString path = QString::fromStdString(view_.openingPath());
    opening_->setText(path.isEmpty() ? QString() : QString("Opening “%1”…").arg(QFileInfo(path).completeBaseName()));
}

void WelcomeWindow::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Escape || event->matches(QKeySequence::Close)) close();
}

/// The window has no title to be moved by: all of its ground serves.
void WelcomeWindow::mousePressEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton && windowHandle()) windowHandle()->startSystemMove();
}

void WelcomeWindow::paintEvent(QPaintEvent*)
{
    QPainter(this).fillRect(rect(), theme().panel);
}

} // namespace larkspool

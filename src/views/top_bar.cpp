#include "views/top_bar.h"

#include "views/icons.h"
#include "views/theme.h"

#include <QBoxLayout>
#include <QMenu>
#include <QMenuBar>
#include <QPainter>

#include <algorithm>

namespace larkspool {

namespace {

constexpr int topBarHeight = 40, nameGap = 16;
constexpr int textInset = 8, chevronRoom = 24; ///< Of the zoom: before its words, and behind them.
constexpr int showsNameFrom = 1400; ///< Pixels of the window's width. Below, the bar has no room for the document's name.

struct PanelToggle {
    Panel panel;
    const char* icon;
    const char* name;
};
constexpr PanelToggle panelToggles[] = {{Panel::layers, "panel-layers", "Toggle Layer Panel"},
                                        {Panel::sceneStrip, "panel-scenes", "Toggle Scene Strip"},
                                        {Panel::timeline, "panel-timeline", "Toggle Timeline"},
                                        {Panel::inspector, "panel-inspector", "Toggle Inspector"}};

/// The zoom, with a menu of what changes it.
class ZoomButton final : public QToolButton {
public:
    explicit ZoomButton(QWidget* parent) : QToolButton(parent)
    {
        setAutoRaise(true);
        setFocusPolicy(Qt::TabFocus);
        setFont(textFont(TextStyle::value));
        setFixedHeight(28);
        setPopupMode(QToolButton::InstantPopup);
        setToolTip("Zoom");
    }
    QSize sizeHint() const override { return {fontMetrics().horizontalAdvance("100%") + textInset + chevronRoom, 28}; }

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        if (underMouse() || isDown()) {
            painter.setPen(Qt::NoPen);
            painter.setBrush(isDown() ? theme().pressed : theme().hover);
            painter.drawRoundedRect(rect(), 6, 6);
        }
        if (hasFocus()) {
            painter.setPen(QPen(theme().focusRing, 2));
            painter.setBrush(Qt::NoBrush);
            painter.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), 6, 6);
        }
        painter.setPen(theme().text);
        painter.drawText(rect().adjusted(textInset, 0, -chevronRoom, 0), Qt::AlignRight | Qt::AlignVCenter, text());
        painter.drawPixmap(width() - 20, (height() - 16) / 2, iconPixmap("chevron-down", 16, theme().icon, devicePixelRatioF()));
    }
};

} // namespace

TopBar::TopBar(Steps steps, QWidget* parent) : Surface(theme().window, parent), steps_(std::move(steps))
{
    setFixedHeight(topBarHeight);
    setAccessibleName("Top bar");
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(4, 0, 8, 0);
    row->setSpacing(0);
    left_ = buildLeft();
    right_ = buildRight();
    row->addWidget(left_, 0, Qt::AlignVCenter);
    row->addStretch(1);
    row->addWidget(right_, 0, Qt::AlignVCenter);
    nameHolder_ = buildName();
}

QWidget* TopBar::buildLeft()
{
    menuBar_ = new QMenuBar(this);
    menuBar_->setNativeMenuBar(false);
    return menuBar_;
}

QWidget* TopBar::buildName()
{
    auto* holder = new QWidget(this);
    holder->setAttribute(Qt::WA_TransparentForMouseEvents);
    auto* row = new QHBoxLayout(holder);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(8);
    name_ = label("", TextStyle::section, LabelTone::text, holder);
    edited_ = label("Edited", TextStyle::body, LabelTone::secondary, holder);
    row->addWidget(name_);
    row->addWidget(edited_);
    return holder;
}

QPushButton* TopBar::commandButton(Command command, const QString& icon, const QString& words, ButtonRole role, QWidget* parent)
{
    QPushButton* button = wordButton(words, role, parent);
    button->setAccessibleName(words);
    button->setIcon(buttonIcon(icon, 16, role == ButtonRole::primary ? IconGround::accent : IconGround::plain));
    connect(button, &QPushButton::clicked, this, [this, command] { steps_.perform(command); });
    commandButtons_.emplace_back(command, button);
    return button;
}

QWidget* TopBar::buildRight()
{
    auto* holder = new QWidget(this);
    auto* row = new QHBoxLayout(holder);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(2);
    for (const PanelToggle& toggle : panelToggles) {
        QToolButton* button = iconButton(toggle.icon, toggle.name, holder);
        button->setCheckable(true);
        button->setProperty("quiet", true);
        connect(button, &QToolButton::clicked, this, [this, panel = toggle.panel] { steps_.togglePanel(panel); });
        panelButtons_.emplace_back(toggle.panel, button);
        row->addWidget(button);
    }
    row->addSpacing(8);
    QWidget* line = hairline(Qt::Vertical, holder);
    line->setFixedHeight(16);
    row->addWidget(line);
    row->addSpacing(4);

    zoom_ = new ZoomButton(holder);
    auto* menu = new QMenu(zoom_);
    for (const Command command : {Command::zoomIn, Command::zoomOut, Command::zoomReset, Command::fitSelection}) {
        const CommandInfo& info = commandInfo(command);
        QString words = QString::fromUtf8(info.title.data(), static_cast<qsizetype>(info.title.size()));
        // The key is that of the menu bar; here it is only told.
        if (info.shortcut)
            words += '\t' + QKeySequence(QString::fromStdString(portableText(*info.shortcut))).toString(QKeySequence::NativeText);
        menu->addAction(words, this, [this, command] { steps_.perform(command); });
    }
    zoom_->setMenu(menu);
    row->addWidget(zoom_);
    row->addSpacing(6);
    row->addWidget(commandButton(Command::quickRender, "quick-render", "Quick Render", ButtonRole::plain, holder));
    row->addSpacing(6);
    row->addWidget(commandButton(Command::exportMP4, "export", "Export", ButtonRole::primary, holder));
    return holder;
}

void TopBar::showName(const QString& name, bool isEdited)
{
    name_->setText(name);
    edited_->setVisible(isEdited);
    placeName();
}

void TopBar::showZoom(double zoom)
{
    zoom_->setText(QString("%1%").arg(static_cast<int>(zoom * 100)));
    zoom_->setAccessibleName("Zoom, " + zoom_->text());
}

void TopBar::refresh(const CommandContext& context, const UserDefaults& defaults)
{
    for (const auto& [panel, button] : panelButtons_) button->setChecked(larkspool::isVisible(defaults, panel));
    for (const auto& [command, button] : commandButtons_) {
        const CommandAvailability possible = availability(command, context);
        const std::string_view help = possible.isEnabled ? commandInfo(command).title : possible.reason;
        button->setEnabled(possible.isEnabled);
        button->setToolTip(QString::fromUtf8(help.data(), static_cast<qsizetype>(help.size())));
    }
}

/// In the middle of the window, or between its neighbours where those come near.
void TopBar::placeName()
{
    const int left = left_->geometry().right() + nameGap, right = right_->geometry().left() - nameGap;
    nameHolder_->setVisible(width() >= showsNameFrom && right > left);
    const int wide = std::min(nameHolder_->sizeHint().width(), right - left);
    const int x = std::clamp((width() - wide) / 2, left, std::max(left, right - wide));
    nameHolder_->setGeometry(x, 0, wide, height());
}

void TopBar::resizeEvent(QResizeEvent* event)
{
    Surface::resizeEvent(event);
    layout()->activate();
    placeName();
}

} // namespace larkspool

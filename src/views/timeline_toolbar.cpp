#include "views/timeline_toolbar.h"

#include "timeline/ripple_settings.h"
#include "timeline/snap.h"
#include "views/controls.h"
#include "views/icons.h"
#include "views/tabular_text.h"
#include "views/theme.h"
#include "views/timeline_layout.h"

#include <QBoxLayout>
#include <QMenu>
#include <QPainter>
#include <QStyleOption>

#include <utility>

namespace larkspool {

namespace {

constexpr int narrow = 1000;         ///< Below this width, the captions are left out.
constexpr int timecodeLeft = 16, timecodeGap = 6;

QString text(std::string_view words)
{
    return QString::fromUtf8(words.data(), static_cast<qsizetype>(words.size()));
}

/// A button that opens a menu: a field with its words, or an icon, and a chevron.
class MenuButton final : public QToolButton {
public:
    enum class Look { words, icon };

    MenuButton(Look look, const QString& name, QWidget* parent) : QToolButton(parent), look_(look)
    {
        setPopupMode(InstantPopup);
        setFocusPolicy(Qt::TabFocus);
        setToolTip(name);
        setAccessibleName(name);
        setMenu(new QMenu(this));
        setFixedHeight(look == Look::words ? 24 : 28);
        if (look == Look::icon) setFixedWidth(40);
    }

    void showWords(const QString& words)
    {
        if (words == text()) return;
        setText(words);
        setAccessibleDescription(words);
        setFixedWidth(static_cast<int>(std::ceil(QFontMetricsF(textFont(TextStyle::body)).horizontalAdvance(words))) + 8 + 4 +
                      12 + 6);
    }

protected:
    void paintEvent(QPaintEvent*) override
    {
        const Theme& t = theme();
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        const bool isHovered = underMouse() && isEnabled();
        if (look_ == Look::words || isHovered || isDown()) {
            const QColor rest = look_ == Look::words ? t.field : t.hover;
            painter.setBrush(isDown() ? t.pressed : isHovered && look_ == Look::words ? t.fieldHover : rest);
            painter.drawRoundedRect(rect(), look_ == Look::words ? 4 : 6, look_ == Look::words ? 4 : 6);
        }
        const double ratio = devicePixelRatioF();
        const int middle = height() / 2;
        painter.drawPixmap(width() - 18 + (look_ == Look::icon ? 5 : 0) - (look_ == Look::icon ? 3 : 0), middle - 6,
                           iconPixmap("chevron-down", 12, t.textSecondary, ratio));
        if (look_ == Look::icon) {
            painter.drawPixmap(5, middle - 8,
                               iconPixmap(property("iconName").toString(), 16, isHovered ? t.text : t.icon, ratio));
        } else {
            painter.setFont(textFont(TextStyle::body));
            painter.setPen(t.text);
            painter.drawText(rect().adjusted(8, 0, -18, 0), Qt::AlignLeft | Qt::AlignVCenter, text());
        }
        if (hasFocus() && window()->testAttribute(Qt::WA_KeyboardFocusChange)) {
            painter.setBrush(Qt::NoBrush);
            painter.setPen(QPen(t.focusRing, 2));
            painter.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), 4, 4);
        }
    }

private:
    Look look_;
};

/// A thin upright line between groups of buttons.
QWidget* divider(QWidget* parent)
{
    auto* line = hairline(Qt::Vertical, parent);
    line->setFixedHeight(16);
    return line;
}

struct PlayModeLook {
    PlayMode mode;
    const char* icon;
    const char* words;
};
constexpr PlayModeLook playModes[] = {{PlayMode::once, "play-once", "Play Once"},
                                      {PlayMode::loop, "loop", "Loop Scene"},
                                      {PlayMode::allScenes, "play-all", "Play All Scenes"}};

struct GridLook {
    PlayheadSnapMode mode;
    const char* words;
};
constexpr GridLook grids[] = {{PlayheadSnapMode::frame, "Frame"},
                              {PlayheadSnapMode::sec010, "0.10 s"},
                              {PlayheadSnapMode::sec025, "0.25 s"},
                              {PlayheadSnapMode::sec050, "0.50 s"},
                              {PlayheadSnapMode::sec100, "1.00 s"}};

void checkAction(QMenu& menu, qsizetype chosen)
{
    const QList<QAction*> actions = menu.actions();
    for (qsizetype i = 0; i < actions.size(); ++i) actions[i]->setChecked(i == chosen);
}

} // namespace

TimelineToolbar::TimelineToolbar(EditorContext context, QWidget* parent) : QWidget(parent), context_(std::move(context))
{
    setFixedHeight(static_cast<int>(TimelineMeasures::toolbarHeight));
    auto* bar = new QHBoxLayout(this);
    bar->setContentsMargins(static_cast<int>(TimelineMeasures::trackLeft), 0, 12, 0);
    bar->setSpacing(2);
    const auto add = [bar](QWidget* widget) {
        bar->addWidget(widget, 0, Qt::AlignVCenter);
        return widget;
    };
    const auto caption = [this](const char* words) {
        captions_.push_back(label(words, TextStyle::caption, LabelTone::secondary, this));
        return captions_.back();
    };
    const auto part = [&] {
        bar->addSpacing(6);
        add(divider(this));
        bar->addSpacing(6);
    };

    add(commandButton(Command::rewind, "rewind"));
    add(commandButton(Command::stepBack, "step-back"));
    play_ = commandButton(Command::togglePlay, "play");
    play_->setFixedWidth(32);
    play_->setAutoRaise(false);
    add(play_);
    add(commandButton(Command::stepForward, "step-forward"));
    bar->addSpacing(2);
    add(playModeButton());
    part();
    add(commandButton(Command::addKeyframe, "keyframe-add"));
    bar->addStretch(1);

    add(caption("Ripple"));
    bar->addSpacing(4);
    add(settingButton(DefaultsKey::ripplePushBefore, "ripple-before", text(label(TimelineRippleMode::before))));
    add(settingButton(DefaultsKey::ripplePushAfter, "ripple-after", text(label(TimelineRippleMode::after))));
    bar->addSpacing(2);
    add(scopeButton());
    part();
    add(caption("Snap"));
    bar->addSpacing(4);
    add(gridButton());
    bar->addSpacing(4);
    add(settingButton(DefaultsKey::timelineSnapToSpans, "span", "Snap to Spans"));
    add(settingButton(DefaultsKey::timelineSnapToKeyframes, "keyframe", "Snap to Keyframes"));
    add(settingButton(DefaultsKey::timelineSnapToPulses, "pulse", "Snap to Pulses"));
    part();
    zoom_ = commandButton(Command::toggleTimelineZoom, "timeline-zoom");
    zoom_->setCheckable(true);
    add(zoom_);
}

QToolButton* TimelineToolbar::commandButton(Command command, const QString& icon)
{
    const CommandInfo& info = commandInfo(command);
    QString name = text(info.title);
    QToolButton* button = iconButton(icon, name, this);
    if (info.shortcut) button->setToolTip(name + "  " + QString::fromStdString(portableText(*info.shortcut)));
    connect(button, &QToolButton::clicked, this, [this, command] { context_.perform(command); });
    return button;
}

QToolButton* TimelineToolbar::settingButton(const BooleanKey& key, const QString& icon, const QString& name)
{
    QToolButton* button = iconButton(icon, name, this);
    button->setCheckable(true);
    connect(button, &QToolButton::clicked, this, [this, key](bool isOn) {
        context_.editor.defaults().set(key, isOn);
        context_.changed();
    });
    settings_.emplace_back(button, key);
    return button;
}

void TimelineToolbar::chooseSetting(std::string_view key, std::string_view value)
{
    context_.editor.defaults().set(key, std::string(value));
    context_.changed();
}

QToolButton* TimelineToolbar::playModeButton()
{
    playMode_ = new MenuButton(MenuButton::Look::icon, "Play Mode", this);
    for (const PlayModeLook& look : playModes) {
        QAction* action = playMode_->menu()->addAction(look.words);
        action->setCheckable(true);
        connect(action, &QAction::triggered, this,
                [this, mode = look.mode] { chooseSetting(DefaultsKey::playMode, playModeName(mode)); });
    }
    return playMode_;
}

QToolButton* TimelineToolbar::scopeButton()
{
    scope_ = new MenuButton(MenuButton::Look::words, "Ripple Scope", this);
    for (const EnumCase<RippleScope>& scope : EnumTable<RippleScope>::cases) {
        QAction* action = scope_->menu()->addAction(text(scope.label));
        action->setCheckable(true);
        connect(action, &QAction::triggered, this,
                [this, value = scope.fileValue] { chooseSetting(DefaultsKey::rippleScope, value); });
    }
    return scope_;
}

QToolButton* TimelineToolbar::gridButton()
{
    grid_ = new MenuButton(MenuButton::Look::words, "Snap Grid", this);
    for (const GridLook& look : grids) {
        QAction* action = grid_->menu()->addAction(look.words);
        action->setCheckable(true);
        connect(action, &QAction::triggered, this,
                [this, mode = look.mode] { chooseSetting(DefaultsKey::timelinePlayheadSnap, fileValue(mode)); });
    }
    return grid_;
}

void TimelineToolbar::refresh()
{
    UserDefaults& defaults = context_.editor.defaults();
    const bool isPlaying = context_.playback.isPlaying();
    if (play_->property("isPlaying") != QVariant(isPlaying)) {
        play_->setProperty("isPlaying", isPlaying);
        play_->setIcon(buttonIcon(isPlaying ? "pause" : "play"));
    }
    for (const auto& [button, key] : settings_) button->setChecked(defaults.boolean(key));

    const PlayMode mode = playMode(defaults.string(DefaultsKey::playMode));
    for (std::size_t i = 0; i < std::size(playModes); ++i) {
        if (playModes[i].mode != mode || playMode_->property("iconName") == playModes[i].icon) continue;
        playMode_->setProperty("iconName", playModes[i].icon);
        playMode_->setToolTip(playModes[i].words);
        checkAction(*playMode_->menu(), static_cast<qsizetype>(i));
        playMode_->update();
    }
    const RippleScope scope = editorRippleScope(defaults);
    static_cast<MenuButton*>(scope_)->showWords(text(label(scope)));
    checkAction(*scope_->menu(), static_cast<qsizetype>(scope));
    const PlayheadSnapMode grid = SnapSettings::of(defaults).grid;
    for (const GridLook& look : grids)
        if (look.mode == grid) static_cast<MenuButton*>(grid_)->showWords(look.words);
    checkAction(*grid_->menu(), static_cast<qsizetype>(grid));
    zoom_->setChecked(context_.editor.state().zoomedIn);
    update(0, 0, static_cast<int>(TimelineMeasures::trackLeft), height());
}

void TimelineToolbar::resizeEvent(QResizeEvent*)
{
    for (QWidget* caption : captions_) caption->setVisible(width() >= narrow);
}

/// The time of the playhead, its frame, and the length of the scene.
void TimelineToolbar::paintEvent(QPaintEvent*)
{
    const Theme& t = theme();
    QPainter painter(this);
    painter.fillRect(rect(), t.panel);
    const EditorState& state = context_.editor.state();
    const TweenScene scene = state.scene();
    const QStringList parts = QString::fromStdString(timecodeBubble(state.playhead, static_cast<double>(scene.fps))).split(" · ");
    double left = timecodeLeft;
    const auto show = [&](const QString& words, TextStyle style, const QColor& color, double down) {
        painter.setFont(textFont(style));
        painter.setPen(color);
        const double wide = tabularWidth(painter.font(), words);
        paintTabular(painter, QRectF(left, down, wide, height()), Qt::AlignLeft, words);
        left += wide + timecodeGap;
    };
    show(parts.front(), TextStyle::timecode, t.text, 0);
    if (parts.size() > 1) show(parts.back(), TextStyle::value, t.textSecondary, 1);
    show("/ " + QString::number(scene.duration, 'f', 2) + "s", TextStyle::value, t.textSecondary, 1);
}

} // namespace larkspool

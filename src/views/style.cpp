#include "views/style.h"

#include "views/accessible_items.h"
#include "views/controls.h"
#include "views/theme.h"

#include <QApplication>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QLabel>
#include <QLayout>
#include <QMenu>
#include <QMessageBox>
#include <QPainter>
#include <QPushButton>
#include <QStyleFactory>
#include <QStyleOption>

#include <algorithm>

namespace larkspool {

namespace {

constexpr double fieldRadius = 4, buttonRadius = 6;
constexpr int shortestThumb = 24, menuBarIcon = 20;
constexpr int buttonIconSide = 16, buttonIconGap = 6, dialogButtonHeight = 32, leastDialogButton = 96;
constexpr int menuItemHeight = 26, menuMargin = 8, menuMark = 16, menuMarkGap = 8, shortcutGap = 24;

void fillRounded(QPainter& painter, const QRectF& rect, double radius, const QColor& color)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(color);
    painter.drawRoundedRect(rect, radius, radius);
    painter.restore();
}

void strokeRounded(QPainter& painter, const QRectF& rect, double radius, const QColor& color, double width)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(color, width));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(rect.adjusted(width / 2, width / 2, -width / 2, -width / 2), radius, radius);
    painter.restore();
}

bool isPrimary(const QWidget* widget)
{
    return widget && widget->property("primary").toBool();
}

QColor buttonFill(const QStyleOption& option, const QWidget* widget)
{
    const Theme& t = theme();
    const bool isDown = option.state & QStyle::State_Sunken, isHovered = option.state & QStyle::State_MouseOver;
    if (isPrimary(widget) && (option.state & QStyle::State_Enabled))
        return isDown ? t.accentPressed : isHovered ? t.accentHover : t.accent;
    const bool isQuiet = widget && widget->property("quiet").toBool(); // Its icon alone tells that it is on.
    if ((option.state & QStyle::State_On) && !isQuiet) return isHovered ? t.accentSoftHover : t.accentSoft;
    if (isDown) return t.pressed;
    const bool isFlat = option.state & QStyle::State_AutoRaise;
    if (isHovered) return t.hover;
    return isFlat ? QColor(Qt::transparent) : t.field;
}

/// What floats: its ground in a line of one pixel, the same on all sides whatever the scale of the screen.
void fillFloating(QPainter& painter, const QRect& rect, const QColor& ground)
{
    painter.fillRect(rect, theme().hairlineStrong);
    painter.fillRect(rect.adjusted(1, 1, -1, -1), ground);
}

void drawMenuItem(const QStyleOptionMenuItem& item, QPainter& painter)
{
    const Theme& t = theme();
    if (item.menuItemType == QStyleOptionMenuItem::Separator) {
        painter.fillRect(QRect(item.rect.left() + menuMargin, item.rect.center().y(), item.rect.width() - 2 * menuMargin, 1), t.hairline);
        return;
    }
    const bool isEnabled = item.state & QStyle::State_Enabled;
    const bool isChosen = isEnabled && (item.state & QStyle::State_Selected);
    if (isChosen) fillRounded(painter, QRectF(item.rect).adjusted(4, 1, -4, -1), buttonRadius - 2, t.accent);
    const QStringList parts = item.text.split('\t');
    QRect text = item.rect.adjusted(menuMargin + menuMark + menuMarkGap, 0, -menuMargin - 8, 0);
    painter.setFont(textFont(TextStyle::body));
    painter.setPen(isChosen ? t.textOnAccent : isEnabled ? t.text : t.textDisabled);
    painter.drawText(text, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextShowMnemonic, parts.front());
    const QRect mark(item.rect.left() + menuMargin, item.rect.top(), menuMark, item.rect.height());
    if (item.checked)
        painter.drawText(mark, Qt::AlignCenter, "✓");
    else if (!item.icon.isNull())
        item.icon.paint(&painter, mark, Qt::AlignCenter,
                        isChosen    ? QIcon::Selected
                        : isEnabled ? QIcon::Normal
                                    : QIcon::Disabled);
    painter.setPen(isChosen ? t.textOnAccent : isEnabled ? t.textSecondary : t.textDisabled);
    if (parts.size() > 1) painter.drawText(text, Qt::AlignRight | Qt::AlignVCenter, parts.back());
    if (item.menuItemType == QStyleOptionMenuItem::SubMenu) painter.drawText(text, Qt::AlignRight | Qt::AlignVCenter, "›");
}

/// Shows that the button has the keyboard: a ring with a gap inside, which parts it from every fill.
void drawButtonRing(const QStyleOption& option, QPainter& painter)
{
    strokeRounded(painter, QRectF(option.rect).adjusted(2, 2, -2, -2), buttonRadius - 2, theme().panel, 1.5);
    strokeRounded(painter, option.rect, buttonRadius, theme().focusRing, 2);
}

/// What lies between the words of a button and its edges.
int buttonPadding(int height)
{
    return height >= dialogButtonHeight ? 16 : height >= 28 ? 12 : 10;
}

/// An icon with the words behind it, in the middle of the button.
void drawIconAndWords(const QStyleOptionButton& button, QPainter& painter)
{
    const bool isEnabled = button.state & QStyle::State_Enabled;
    const int width = buttonIconSide + buttonIconGap + button.fontMetrics.horizontalAdvance(button.text);
    const int left = button.rect.left() + (button.rect.width() - width) / 2;
    const QRect icon(left, button.rect.top() + (button.rect.height() - buttonIconSide) / 2, buttonIconSide, buttonIconSide);
    const bool isHovered = button.state & QStyle::State_MouseOver;
    button.icon.paint(&painter, icon, Qt::AlignCenter, !isEnabled ? QIcon::Disabled : isHovered ? QIcon::Active : QIcon::Normal);
    painter.setPen(button.palette.color(isEnabled ? QPalette::Active : QPalette::Disabled, QPalette::ButtonText));
    painter.drawText(button.rect.adjusted(icon.right() + 1 + buttonIconGap - button.rect.left(), 0, 0, 0),
                     Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine, button.text);
}

void dressLabel(QLabel* label, TextStyle style, const QColor& color)
{
    if (!label) return;
    label->setIndent(0);
    label->setContentsMargins(0, 0, 0, 0);
    label->setFont(textFont(style));
    QPalette palette = label->palette();
    palette.setColor(QPalette::WindowText, color);
    label->setPalette(palette);
}

/// Gives the toolkit's own question the measures of the program's: a title, words, and buttons of which the main one is filled.
void dressQuestion(QMessageBox& box)
{
    if (box.layout()) {
        box.layout()->setContentsMargins(24, 20, 24, 20);
        box.layout()->setSpacing(8);
    }
    auto* grid = qobject_cast<QGridLayout*>(box.layout());
    if (grid && box.icon() == QMessageBox::NoIcon) {
        grid->setHorizontalSpacing(0);
        for (int i = 0; i < grid->count(); ++i)
            if (QSpacerItem* beforeWords = grid->itemAt(i)->spacerItem()) beforeWords->changeSize(0, 0);
        grid->invalidate();
    }
    if (auto* buttons = box.findChild<QDialogButtonBox*>()) buttons->setContentsMargins(0, 12, 0, 0);
    const bool isTitle = !box.text().contains('\n');
    dressLabel(box.findChild<QLabel*>("qt_msgbox_label"), isTitle ? TextStyle::title : TextStyle::dialogBody, theme().text);
    dressLabel(box.findChild<QLabel*>("qt_msgbox_informativelabel"), TextStyle::dialogBody, theme().textSecondary);
    QAbstractButton* main = box.defaultButton();
    for (QAbstractButton* each : box.buttons()) {
        each->setFont(textFont(TextStyle::bodyMedium));
        each->setFixedHeight(dialogButtonHeight);
        each->setMinimumWidth(leastDialogButton);
        const QMessageBox::ButtonRole role = box.buttonRole(each);
        if (!main && (role == QMessageBox::AcceptRole || role == QMessageBox::YesRole)) main = each;
    }
    if (auto* button = qobject_cast<QPushButton*>(main)) makePrimary(*button);
}

} // namespace

Style::Style() : QProxyStyle(QStyleFactory::create("Fusion")) {}

void Style::drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter, const QWidget* widget) const
{
    const Theme& t = theme();
    switch (element) {
    case PE_PanelButtonCommand:
    case PE_PanelButtonTool:
        fillRounded(*painter, option->rect, buttonRadius, buttonFill(*option, widget));
        if ((option->state & State_HasFocus) && (option->state & State_KeyboardFocusChange)) drawButtonRing(*option, *painter);
        return;
    case PE_PanelLineEdit:
    case PE_FrameLineEdit: {
        if (widget && widget->property("bare").toBool()) return; // It stands in a box that draws itself.
        const bool hasFocus = option->state & State_HasFocus;
        fillRounded(*painter, option->rect, fieldRadius,
                    hasFocus ? t.fieldFocus : option->state & State_MouseOver ? t.fieldHover : t.field);
        if (hasFocus) strokeRounded(*painter, option->rect, fieldRadius, t.focusRing, 1.5);
        return;
    }
    case PE_FrameFocusRect:
        if (option->state & State_KeyboardFocusChange) strokeRounded(*painter, option->rect, buttonRadius, t.focusRing, 2);
        return;
    case PE_FrameMenu:
    case PE_PanelMenu:
        fillFloating(*painter, option->rect, t.raised);
        return;
    case PE_PanelTipLabel:
        fillFloating(*painter, option->rect, t.overlay);
        return;
    case PE_PanelMenuBar:
    case PE_FrameTabBarBase:
    case PE_FrameStatusBarItem: return;
    default: return QProxyStyle::drawPrimitive(element, option, painter, widget);
    }
}

void Style::drawControl(ControlElement element, const QStyleOption* option, QPainter* painter, const QWidget* widget) const
{
    const Theme& t = theme();
    if (element == CE_MenuItem) {
        // Unlike a menu, the list of a field has the ground of a panel.
        if (!qobject_cast<const QMenu*>(widget)) painter->fillRect(option->rect, t.raised);
        if (const auto* item = qstyleoption_cast<const QStyleOptionMenuItem*>(option)) return drawMenuItem(*item, *painter);
    }
    if (element == CE_MenuBarEmptyArea) return painter->fillRect(option->rect, t.window);
    if (element == CE_MenuBarItem) {
        if (const auto* item = qstyleoption_cast<const QStyleOptionMenuItem*>(option)) {
            painter->fillRect(item->rect, t.window);
            if (item->state & State_Selected) fillRounded(*painter, QRectF(item->rect).adjusted(0, 2, 0, -2), buttonRadius, t.hover);
            if (!item->icon.isNull()) {
                QRect place(0, 0, menuBarIcon, menuBarIcon);
                place.moveCenter(item->rect.center());
                return item->icon.paint(painter, place);
            }
            painter->setPen(t.text);
            painter->setFont(textFont(TextStyle::body));
            painter->drawText(item->rect, Qt::AlignCenter | Qt::TextShowMnemonic | Qt::TextSingleLine, item->text);
            return;
        }
    }
    if (element == CE_PushButtonLabel) {
        const auto* button = qstyleoption_cast<const QStyleOptionButton*>(option);
        if (button && !button->icon.isNull() && !button->text.isEmpty()) return drawIconAndWords(*button, *painter);
    }
    if (element == CE_Splitter) return painter->fillRect(option->rect, t.hairline);
    QProxyStyle::drawControl(element, option, painter, widget);
}

/// A bar for scrolling is its thumb alone, without arrows and groove.
void Style::drawComplexControl(ComplexControl control, const QStyleOptionComplex* option, QPainter* painter, const QWidget* widget) const
{
    const auto* bar = qstyleoption_cast<const QStyleOptionSlider*>(option);
    if (control != CC_ScrollBar || !bar) return QProxyStyle::drawComplexControl(control, option, painter, widget);
    const bool isHeld = bar->activeSubControls & SC_ScrollBarSlider && bar->state & (State_Sunken | State_MouseOver);
    const QRectF thumb = QRectF(subControlRect(control, bar, SC_ScrollBarSlider, widget)).adjusted(1, 1, -1, -1);
    fillRounded(*painter, thumb, std::min(thumb.width(), thumb.height()) / 2, isHeld ? theme().controlBorder : theme().hairlineStrong);
}

QRect Style::subControlRect(ComplexControl control, const QStyleOptionComplex* option, SubControl part, const QWidget* widget) const
{
    const auto* bar = qstyleoption_cast<const QStyleOptionSlider*>(option);
    if (control != CC_ScrollBar || !bar) return QProxyStyle::subControlRect(control, option, part, widget);
    const bool isUpright = bar->orientation == Qt::Vertical;
    const int length = isUpright ? bar->rect.height() : bar->rect.width();
    const int range = bar->maximum - bar->minimum;
    const int shown = range + bar->pageStep;
    const int thumb = range > 0 && shown > 0 ? std::clamp(static_cast<int>(qint64{length} * bar->pageStep / shown), std::min(shortestThumb, length), length) : length;
    const int start = sliderPositionFromValue(bar->minimum, bar->maximum, bar->sliderPosition, length - thumb, bar->upsideDown);
    const auto stretch = [&](int from, int to) {
        const QRect rect = isUpright ? QRect(0, from, bar->rect.width(), to - from) : QRect(from, 0, to - from, bar->rect.height());
        return rect.translated(bar->rect.topLeft());
    };
    switch (part) {
    case SC_ScrollBarSlider: return stretch(start, start + thumb);
    case SC_ScrollBarGroove: return bar->rect;
    case SC_ScrollBarSubPage: return stretch(0, start);
    case SC_ScrollBarAddPage: return stretch(start + thumb, length);
    default: return {};
    }
}

int Style::pixelMetric(PixelMetric metric, const QStyleOption* option, const QWidget* widget) const
{
    switch (metric) {
    case PM_SplitterWidth: return 1;
    case PM_MenuBarHMargin:
    case PM_MenuBarVMargin:
    case PM_MenuBarPanelWidth:
    case PM_MenuHMargin: return 0;
    case PM_MenuVMargin: return 4;
    case PM_MenuBarItemSpacing: return 0;
    case PM_ScrollBarExtent: return 8;
    case PM_ToolTipLabelFrameWidth: return 6;
    case PM_ButtonShiftHorizontal:
    case PM_ButtonShiftVertical: return 0;
    case PM_SmallIconSize:
    case PM_ButtonIconSize:
    case PM_ToolBarIconSize: return 16;
    default: return QProxyStyle::pixelMetric(metric, option, widget);
    }
}

int Style::styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget, QStyleHintReturn* data) const
{
    if (hint == SH_ToolTip_WakeUpDelay) return 500;
    if (hint == SH_MenuBar_AltKeyNavigation) return 1;
    if (hint == SH_Menu_Scrollable) return 1; // A long list, of fonts say, stays one column.
    if (hint == SH_DialogButtonBox_ButtonsHaveIcons) return 0;
    if (hint == SH_DialogButtonLayout) return QDialogButtonBox::GnomeLayout; // The main action is the rightmost one.
    return QProxyStyle::styleHint(hint, option, widget, data);
}

QSize Style::sizeFromContents(ContentsType type, const QStyleOption* option, const QSize& size, const QWidget* widget) const
{
    if (type == CT_MenuItem) {
        const auto* item = qstyleoption_cast<const QStyleOptionMenuItem*>(option);
        if (item && item->menuItemType == QStyleOptionMenuItem::Separator) return {size.width(), 9};
        const QFontMetrics metrics(textFont(TextStyle::body));
        const QStringList parts = item ? item->text.split('\t') : QStringList();
        int width = 2 * menuMargin + menuMark + menuMarkGap + 24;
        for (const QString& part : parts) width += metrics.horizontalAdvance(part);
        if (parts.size() > 1) width += shortcutGap;
        return {std::max(width, 160), menuItemHeight};
    }
    if (const auto* button = type == CT_PushButton ? qstyleoption_cast<const QStyleOptionButton*>(option) : nullptr) {
        const int height = widget && widget->minimumHeight() > 0 ? widget->minimumHeight() : 28;
        const int icon = button->icon.isNull() ? 0 : buttonIconSide + buttonIconGap;
        return {button->fontMetrics.horizontalAdvance(button->text) + icon + 2 * buttonPadding(height), height};
    }
    if (type == CT_MenuBarItem) return {size.width() + 16, 28};
    return QProxyStyle::sizeFromContents(type, option, size, widget);
}

void Style::polish(QWidget* widget)
{
    QProxyStyle::polish(widget);
    if (auto* box = qobject_cast<QMessageBox*>(widget)) dressQuestion(*box);
}

QPalette themePalette()
{
    const Theme& t = theme();
    QPalette palette;
    const std::pair<QPalette::ColorRole, QColor> colors[] = {
        {QPalette::Window, t.panel}, {QPalette::WindowText, t.text}, {QPalette::Base, t.field}, {QPalette::AlternateBase, t.panel},
        {QPalette::Text, t.text}, {QPalette::Button, t.field}, {QPalette::ButtonText, t.text}, {QPalette::BrightText, t.textOnAccent},
        {QPalette::Highlight, t.accent}, {QPalette::HighlightedText, t.textOnAccent}, {QPalette::ToolTipBase, t.overlay},
        {QPalette::ToolTipText, t.text}, {QPalette::PlaceholderText, t.textSecondary}, {QPalette::Link, t.accentText},
    };
    for (const auto& [role, color] : colors) palette.setColor(role, color);
    for (const QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, t.textDisabled);
    return palette;
}

void applyLook()
{
    QApplication::setStyle(new Style);
    QApplication::setPalette(themePalette());
    QApplication::setFont(textFont(TextStyle::body));
    announceAccessibleItems();
}

} // namespace larkspool

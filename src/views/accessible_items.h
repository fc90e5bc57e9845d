#pragma once

#include <QAccessible>
#include <QRect>
#include <QString>

#include <functional>
#include <optional>
#include <vector>

class QWidget;

namespace larkspool {

/// Something that a widget paints and that is a control for those who cannot see it.
struct AccessibleItem {
    QString name{};
    QString description{};
    QAccessible::Role role = QAccessible::ListItem;
    QRect rect{}; ///< In the widget. Empty for what is scrolled away.
    bool isSelected = false;
    bool isSelectable = true;
    bool hasKeyboard = false; ///< Whether the keys act on it while the widget has the keyboard.
    std::optional<bool> isExpanded{}; ///< Of what can be expanded.
    std::function<void()> press{};    ///< What its main action does. May be absent.
};

/// Gives what a painted widget shows to the programs that read screens aloud: its items are the widget's children. A widget that
/// derives from this is known to them from `announceAccessibleItems` on.
class AccessibleItems {
public:
    virtual ~AccessibleItems() = default;

    /// What the widget shows now, from the first to the last.
    virtual std::vector<AccessibleItem> accessibleItems() const = 0;

    /// The same, taken once for all questions until `itemsChanged`.
    const std::vector<AccessibleItem>& items() const;

protected:
    /// Tells of another state of the items. `widget` is the one that paints them.
    void itemsChanged(QWidget& widget);

private:
    mutable std::optional<std::vector<AccessibleItem>> items_;
};

/// Has the toolkit find the items of all widgets that paint some. Once for the program.
void announceAccessibleItems();

} // namespace larkspool

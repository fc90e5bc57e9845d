#include "views/accessible_items.h"

#include <QAccessibleWidget>
#include <QWidget>

#include <algorithm>

namespace larkspool {

namespace {

class ItemsWidget;

/// One item. It is known by its place among the items of its widget.
class ItemInterface final : public QAccessibleInterface, public QAccessibleActionInterface {
public:
    ItemInterface(ItemsWidget& owner, int index) : owner_(owner), index_(index) {}

    bool isValid() const override { return item() != nullptr; }
    QObject* object() const override { return nullptr; }
    QAccessibleInterface* childAt(int, int) const override { return nullptr; }
    QAccessibleInterface* parent() const override;
    QAccessibleInterface* child(int) const override { return nullptr; }
    int childCount() const override { return 0; }
    int indexOfChild(const QAccessibleInterface*) const override { return -1; }
    QString text(QAccessible::Text kind) const override;
    void setText(QAccessible::Text, const QString&) override {}
    QRect rect() const override;
    QAccessible::Role role() const override { return item() ? item()->role : QAccessible::NoRole; }
    QAccessible::State state() const override;

    QStringList actionNames() const override { return item() && item()->press ? QStringList(pressAction()) : QStringList(); }
    void doAction(const QString& name) override;
    QStringList keyBindingsForAction(const QString&) const override { return {}; }
    void* interface_cast(QAccessible::InterfaceType type) override
    {
        return type == QAccessible::ActionInterface ? static_cast<QAccessibleActionInterface*>(this) : nullptr;
    }

    int index() const { return index_; }

private:
    const AccessibleItem* item() const;

    ItemsWidget& owner_;
    int index_;
};

class ItemsWidget final : public QAccessibleWidget {
public:
    ItemsWidget(QWidget& widget, const AccessibleItems& source)
        : QAccessibleWidget(&widget, QAccessible::List), source_(source)
    {}
    ~ItemsWidget() override
    {
        for (const QAccessible::Id id : children_) QAccessible::deleteAccessibleInterface(id);
    }

    const std::vector<AccessibleItem>& items() const
    {
        static const std::vector<AccessibleItem> none;
        return isValid() ? source_.items() : none;
    }
    QWidget& view() const { return *widget(); }

    int childCount() const override { return static_cast<int>(items().size()) + QAccessibleWidget::childCount(); }
    /// The widgets in the widget, a field in which a name is typed say, come behind the items.
    QAccessibleInterface* child(int index) const override
    {
        const int count = static_cast<int>(items().size());
        if (index < 0) return nullptr;
        if (index >= count) return QAccessibleWidget::child(index - count);
        while (static_cast<int>(children_.size()) <= index)
            children_.push_back(QAccessible::registerAccessibleInterface(
                new ItemInterface(const_cast<ItemsWidget&>(*this), static_cast<int>(children_.size()))));
        return QAccessible::accessibleInterface(children_[static_cast<std::size_t>(index)]);
    }
    int indexOfChild(const QAccessibleInterface* wanted) const override
    {
        for (std::size_t i = 0; i < children_.size(); ++i)
            if (QAccessible::accessibleInterface(children_[i]) == wanted) return static_cast<int>(i);
        const int inWidget = QAccessibleWidget::indexOfChild(wanted);
        return inWidget < 0 ? inWidget : inWidget + static_cast<int>(items().size());
    }
    QAccessibleInterface* childAt(int x, int y) const override
    {
        const QPoint point = view().mapFromGlobal(QPoint(x, y));
        const auto& all = items();
        // What is painted last lies above.
        for (std::size_t i = all.size(); i-- > 0;)
            if (all[i].rect.contains(point)) return child(static_cast<int>(i));
        return QAccessibleWidget::childAt(x, y);
    }
    QAccessibleInterface* focusChild() const override
    {
        if (!view().hasFocus()) return QAccessibleWidget::focusChild();
        const auto& all = items();
        const auto found = std::ranges::find_if(all, &AccessibleItem::hasKeyboard);
        return found != all.end() ? child(static_cast<int>(found - all.begin())) : QAccessibleWidget::focusChild();
    }

private:
    const AccessibleItems& source_;
    mutable std::vector<QAccessible::Id> children_;
};

const AccessibleItem* ItemInterface::item() const
{
    const auto& all = owner_.items();
    return index_ < static_cast<int>(all.size()) ? &all[static_cast<std::size_t>(index_)] : nullptr;
}

QAccessibleInterface* ItemInterface::parent() const
{
    return &owner_;
}

QString ItemInterface::text(QAccessible::Text kind) const
{
    const AccessibleItem* shown = item();
    if (!shown) return {};
    if (kind == QAccessible::Name) return shown->name;
    return kind == QAccessible::Description ? shown->description : QString();
}

QRect ItemInterface::rect() const
{
    const AccessibleItem* shown = item();
    if (!shown || shown->rect.isEmpty()) return {};
    return {owner_.view().mapToGlobal(shown->rect.topLeft()), shown->rect.size()};
}

QAccessible::State ItemInterface::state() const
{
    QAccessible::State state;
    const AccessibleItem* shown = item();
    if (!shown) {
        state.invalid = true;
        return state;
    }
    state.selectable = shown->isSelectable;
    state.selected = shown->isSelected;
    state.focusable = true;
    state.focused = shown->hasKeyboard && owner_.view().hasFocus();
    state.offscreen = shown->rect.isEmpty();
    state.expandable = shown->isExpanded.has_value();
    state.expanded = shown->isExpanded.value_or(false);
    state.collapsed = shown->isExpanded && !*shown->isExpanded;
    return state;
}

void ItemInterface::doAction(const QString& name)
{
    if (name != pressAction() || !item() || !item()->press) return;
    const std::function<void()> press = item()->press; // It may change the items.
    press();
}

QAccessibleInterface* makeInterface(const QString&, QObject* object)
{
    auto* widget = qobject_cast<QWidget*>(object);
    const auto* source = dynamic_cast<const AccessibleItems*>(widget);
    return source ? new ItemsWidget(*widget, *source) : nullptr;
}

} // namespace

const std::vector<AccessibleItem>& AccessibleItems::items() const
{
    if (!items_) items_ = accessibleItems();
    return *items_;
}

void AccessibleItems::itemsChanged(QWidget& widget)
{
    items_.reset();
    if (!QAccessible::isActive() || !widget.hasFocus()) return;
    const auto& all = items();
    const auto focused = std::ranges::find_if(all, &AccessibleItem::hasKeyboard);
    if (focused == all.end()) return;
    QAccessibleEvent event(&widget, QAccessible::Focus);
    event.setChild(static_cast<int>(focused - all.begin()));
    QAccessible::updateAccessibility(&event);
}

void announceAccessibleItems()
{
    QAccessible::installFactory(makeInterface);
}

} // namespace larkspool

#pragma once

#include <QLineEdit>

#include <functional>

namespace larkspool {

/// A field that stands in place of a painted name while that is typed. Return and leaving the field keep what was typed, Escape
/// does not; Tab and Shift+Tab keep it and go on.
class NameField final : public QLineEdit {
public:
    enum class End { kept, cancelled, keptAndOn, keptAndBack };

    explicit NameField(QWidget* parent);

    /// Shows the field there with the name, all of it selected.
    void open(const QRect& place, const QString& name);
    bool isOpen() const { return isOpen_; }
    /// Ends the typing, if there is any.
    void finish(End end);

    std::function<void(End end)> ended; ///< Called once for each opening, with the field hidden and its text still there.

protected:
    bool event(QEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    bool isOpen_ = false;
};

} // namespace larkspool

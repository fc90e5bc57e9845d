#pragma once

#include <functional>

namespace larkspool {

/// What the focus of one numeric field does to the undo gate: a visit to the field costs one undo step at most, whatever is
/// typed in between. Where the focus goes from one field to another, the old field is told of its loss first.
struct NumericFieldUndoGate {
    std::function<void()> open{};
    std::function<void()> confirm{};
    std::function<void()> cancel{};
    bool focused = false;
    bool cancelled = false;

    void gainFocus();
    void loseFocus();
    /// Escape: takes back what was typed. The field then gives up the focus, and the loss of it confirms nothing.
    void exitCommand();
};

} // namespace larkspool

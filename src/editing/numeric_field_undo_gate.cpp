#include "editing/numeric_field_undo_gate.h"

namespace larkspool {

void NumericFieldUndoGate::gainFocus()
{
    if (focused) return;
    focused = true;
    cancelled = false;
    open();
}

void NumericFieldUndoGate::loseFocus()
{
    if (!focused) return;
    focused = false;
    if (!cancelled) confirm();
}

void NumericFieldUndoGate::exitCommand()
{
    if (!focused) return;
    cancelled = true;
    cancel();
    loseFocus();
}

} // namespace larkspool

#pragma once

#include "views/controls.h"
#include "views/editor_context.h"

namespace larkspool {

/// What is selected, with its properties to edit.
class InspectorView final : public Surface {
public:
    InspectorView(EditorContext context, QWidget* parent);

    /// Shows the editor's state.
    void refresh();

private:
    EditorContext context_;
};

} // namespace larkspool

#pragma once

#include "views/controls.h"
#include "views/editor_context.h"

namespace larkspool {

class TimelineToolbar;
class TimelineTracks;

/// Time: the rail, and the rows of what is selected or of the whole scene.
class TimelineView final : public Surface {
public:
    TimelineView(EditorContext context, QWidget* parent);

    /// Shows the editor's state.
    void refresh();

private:
    TimelineToolbar* toolbar_ = nullptr;
    TimelineTracks* tracks_ = nullptr;
};

} // namespace larkspool

#include "views/timeline_view.h"

#include "views/theme.h"

namespace larkspool {

TimelineView::TimelineView(EditorContext context, QWidget* parent) : Surface(theme().panel, parent), context_(std::move(context))
{
    setAccessibleName("Timeline");
}

void TimelineView::refresh()
{
    update();
}

} // namespace larkspool

#include "views/inspector_view.h"

#include "views/theme.h"

namespace larkspool {

InspectorView::InspectorView(EditorContext context, QWidget* parent) : Surface(theme().panel, parent), context_(std::move(context))
{
    setAccessibleName("Inspector");
}

void InspectorView::refresh()
{
    update();
}

} // namespace larkspool

#include "views/timeline_view.h"

#include "views/theme.h"
#include "views/timeline_toolbar.h"
#include "views/timeline_tracks.h"

#include <QBoxLayout>

namespace larkspool {

TimelineView::TimelineView(EditorContext context, QWidget* parent) : Surface(theme().panel, parent)
{
    setAccessibleName("Timeline");
    toolbar_ = new TimelineToolbar(context, this);
    tracks_ = new TimelineTracks(std::move(context), this);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(toolbar_);
    column->addWidget(tracks_, 1);
    refresh();
}

void TimelineView::refresh()
{
    toolbar_->refresh();
    tracks_->refresh();
}

} // namespace larkspool

#include "views/quick_render_flow.h"

#include "views/quick_render_sheet.h"

#include <utility>

namespace larkspool {

QuickRenderFlow::QuickRenderFlow(QWidget& window, Services services)
    : window_(window), services_(std::move(services)),
      render_({.tasks = services_.tasks, .exporter = services_.exporter, .changed = [this] { showState(); }})
{
}

QuickRenderFlow::~QuickRenderFlow()
{
    delete sheet_; // Silence before the film goes.
}

void QuickRenderFlow::start(QuickRender::From from)
{
    if (isOpen()) return;
    services_.playback.setPlaying(false);
    render_.startQuickRender(services_.document(), from, services_.editor.state().playhead);
}

void QuickRenderFlow::close()
{
    if (isOpen()) render_.closeQuickRender();
}

void QuickRenderFlow::showState()
{
    const std::optional<QuickRenderState>& state = render_.state();
    const bool isNew = state && !sheet_;
    if (isNew)
        sheet_ = new QuickRenderSheet(window_, {.tasks = services_.tasks,
                                                .loadSound = services_.loadSound,
                                                .onClose = [this] { close(); },
                                                .unreadable = [this] { removeUnreadable(); }});
    if (state) sheet_->show(*state);
    if (!state && sheet_) {
        sheet_->dismiss();
        sheet_.clear();
        services_.sheetChanged();
    }
    if (isNew) services_.sheetChanged();
}

/// The next quick render makes another film then.
void QuickRenderFlow::removeUnreadable() const
{
    if (!isOpen()) return;
    const auto* playing = std::get_if<QuickRenderState::Playing>(&render_.state()->phase);
    if (playing) QuickRender::removeQuietly(playing->url);
}

} // namespace larkspool

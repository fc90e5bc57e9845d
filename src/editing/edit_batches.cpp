#include "editing/edit_batches.h"

#include <utility>

namespace larkspool {

namespace {

void showChanged(SharedCommit& commit, const SharedCommit::Work& work)
{
    TweenScene scene = commit.state().scene();
    work(scene);
    commit.show(std::move(scene));
}

} // namespace

void ColorEditBatch::colorEditBatch(std::string_view action, const SharedCommit::Work& work)
{
    if (!colorBatchSnapshot_) {
        colorBatchSnapshot_ = commit_.state().scene();
        colorBatchAction_ = action;
    }
    showChanged(commit_, work);
    colorBatchTimer_ = timers_.after(quietSeconds, [this] { commitColorBatch(); });
}

void ColorEditBatch::commitColorBatch()
{
    if (!colorBatchSnapshot_) return;
    TweenScene before = std::move(*colorBatchSnapshot_);
    colorBatchSnapshot_.reset();
    commit_.onCommit(std::exchange(colorBatchAction_, {}), std::move(before));
    colorBatchTimer_.stop();
}

void ColorEditBatch::cancelColorBatch()
{
    if (!colorBatchSnapshot_) return;
    TweenScene before = std::move(*colorBatchSnapshot_);
    colorBatchSnapshot_.reset();
    colorBatchAction_.clear();
    colorBatchTimer_.stop();
    commit_.show(std::move(before));
}

void NumberScrub::scrubBegin(std::string_view action)
{
    if (scrubSnapshot_) return;
    scrubSnapshot_ = commit_.state().scene();
    scrubAction_ = action;
}

void NumberScrub::scrub(const SharedCommit::Work& work)
{
    if (scrubSnapshot_) showChanged(commit_, work);
}

void NumberScrub::scrubEnd()
{
    if (!scrubSnapshot_) return;
    TweenScene before = std::move(*scrubSnapshot_);
    scrubSnapshot_.reset();
    const std::string action = std::exchange(scrubAction_, {});
    if (commit_.state().scene() != before) commit_.onCommit(action, std::move(before));
}

} // namespace larkspool

#include "app/interruption.h"

#include <array>
#include <atomic>
#include <cassert>
#include <csignal>

namespace larkspool {

namespace {

constexpr std::array signalsToTake = {SIGINT, SIGTERM};

std::atomic<Exporter::ExportCancelFlag*> flagToSet{nullptr};
static_assert(std::atomic<Exporter::ExportCancelFlag*>::is_always_lock_free, "a signal handler may only use what never waits");

std::array<struct sigaction, signalsToTake.size()> earlierActions;

void setFlag(int)
{
    if (Exporter::ExportCancelFlag* flag = flagToSet.load()) flag->cancel();
}

} // namespace

CancelOnInterrupt::CancelOnInterrupt(Exporter::ExportCancelFlag& flag)
{
    assert(!flagToSet.load());
    flagToSet.store(&flag);
    struct sigaction action = {};
    action.sa_handler = setFlag;
    action.sa_flags = SA_RESTART | static_cast<int>(SA_RESETHAND); // Whoever asks twice shall not have to wait.
    sigemptyset(&action.sa_mask);
    for (std::size_t i = 0; i < signalsToTake.size(); ++i) sigaction(signalsToTake[i], &action, &earlierActions[i]);
}

CancelOnInterrupt::~CancelOnInterrupt()
{
    for (std::size_t i = 0; i < signalsToTake.size(); ++i) sigaction(signalsToTake[i], &earlierActions[i], nullptr);
    flagToSet.store(nullptr);
}

} // namespace larkspool

#pragma once

#include "export/exporter.h"
#include "shell/tasks.h"

#include <exception>
#include <functional>
#include <memory>
#include <optional>

namespace larkspool {

/// A frame of a running export, to be shown. Opaque; never changed.
using LiveFrame = std::shared_ptr<const PixelBuffer>;

/// What a running export has to tell.
struct FilmNews {
    std::optional<double> progress{}; ///< 0...1.
    LiveFrame frame{};                ///< Null for none.
};

/// An export that runs on another thread and tells the main thread of it, which owns the task. News that the main thread has not
/// taken yet give way to newer ones, so that a slow one is never flooded.
class FilmTask {
public:
    struct Steps {
        /// Writes the film, with these callbacks and this flag to stop it. Runs on the other thread; may throw.
        std::function<void(const Exporter::ExportOptions& options)> write;
        std::function<void(const FilmNews& news)> news;
        std::function<void(std::exception_ptr error)> end; ///< Called once; null where `write` came to its end.
        std::function<void(std::exception_ptr error)> abandonedEnd = {}; ///< Called in place of `end` if the task is gone by then.
    };

    /// Starts.
    FilmTask(Tasks tasks, Steps steps);
    /// Stops what runs. The main thread hears no more of it but its abandoned end. A task may be destroyed from its own `end`.
    ~FilmTask();
    FilmTask(const FilmTask&) = delete;
    FilmTask& operator=(const FilmTask&) = delete;

    /// Asks the export to stop. It then comes to its end as the exporter sees fit.
    void cancel();

private:
    class Run;

    std::shared_ptr<Run> run_;
};

} // namespace larkspool

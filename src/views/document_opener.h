#pragma once

#include "shell/document_file.h"
#include "shell/tasks.h"
#include "shell/welcome.h"

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace larkspool {

/// Opens documents: each is read beside the windows, which stay alive meanwhile, and has one window however often it is asked
/// for. Lives on the main thread, longer than the work that is handed to `tasks`.
class DocumentOpener {
public:
    /// What becomes of an opening: whether there is a window of the document now.
    using Ended = std::function<void(bool isOpen)>;

    struct Services {
        Tasks tasks; ///< Where documents are read.
        RecentDocuments& recents;
        std::function<bool(const std::string& path)> showAgain; ///< Brings the document's window to the front, if it has one.
        std::function<void(DocumentFile file)> show;            ///< In a new window.
        std::function<void(const std::string& path, const std::string& why)> tellFailure;
    };

    explicit DocumentOpener(Services services) : services_(std::move(services)) {}
    DocumentOpener(const DocumentOpener&) = delete;
    DocumentOpener& operator=(const DocumentOpener&) = delete;

    /// Opens the document soon, or shows its window at once. Relative paths are completed. `ended` may be absent.
    void open(const std::string& path, Ended ended = {});

    bool isReading() const { return !reading_.empty(); }

private:
    struct Outcome;

    static Outcome read(const std::string& path);
    bool finish(const std::string& path, Outcome outcome);

    Services services_;
    std::map<std::string, std::vector<Ended>> reading_; ///< By the path, whoever waits for it.
};

} // namespace larkspool

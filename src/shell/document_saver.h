#pragma once

#include "shell/document_file.h"
#include "shell/tasks.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace larkspool {

/// Saves documents beside the windows, which stay alive meanwhile. A file gets the document as it was when the save was asked
/// for; what is edited since leaves the document edited.
///
/// Saves of one document, and saves into one file, follow one another in the order in which they were asked for. One that still
/// waits is left out when its document is to go to the same file once more. Lives on the main thread, longer than the work that is
/// handed to `tasks`.
class DocumentSaver {
public:
    /// Told of each save but those that are left out: `failure` says for a person why it failed, and is nothing if it did not.
    using Ended = std::function<void(const std::string& path, const std::optional<std::string>& failure)>;

    explicit DocumentSaver(Tasks tasks) : tasks_(std::move(tasks)) {}
    DocumentSaver(const DocumentSaver&) = delete;
    DocumentSaver& operator=(const DocumentSaver&) = delete;

    /// Writes the document to `path` soon, which is its file from then on. `file` takes in what became of it before `ended` is
    /// called; until then nobody else may save it.
    void save(std::shared_ptr<DocumentFile> file, TweenDocument document, const std::string& path, Ended ended);

    bool isSaving(const DocumentFile& file) const;
    /// Where the document's file lies when all that was asked for is done.
    const std::string& pathToBe(const DocumentFile& file) const;
    /// What its file has then.
    const TweenDocument& savedToBe(const DocumentFile& file) const;

private:
    struct Save;

    const Save* lastOf(const DocumentFile& file) const; ///< Null if none is running or waiting.
    void leaveOutOlder(const DocumentFile& file, const std::string& path);
    void startFree();
    void start(std::shared_ptr<Save> save);
    void finish(const std::shared_ptr<Save>& save);

    Tasks tasks_;
    std::vector<std::shared_ptr<Save>> saves_; ///< Running or waiting, in the order in which they were asked for.
};

} // namespace larkspool

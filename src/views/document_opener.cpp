#include "views/document_opener.h"

#include <QEventLoopLocker>

#include <memory>
#include <optional>
#include <utility>

namespace larkspool {

/// What reading came to: the document, or why there is none.
struct DocumentOpener::Outcome {
    std::optional<DocumentFile> file{};
    std::string failure{};
};

DocumentOpener::Outcome DocumentOpener::read(const std::string& path)
{
    try {
        return {.file = DocumentFile::open(path)};
    } catch (const std::exception& error) {
        return {.failure = error.what()};
    }
}

void DocumentOpener::open(const std::string& path, Ended ended)
{
    const std::string file = RecentDocuments::notedPath(path);
    if (services_.showAgain(file)) {
        if (ended) ended(/*isOpen=*/true);
        return;
    }
    std::vector<Ended>& waiting = reading_[file];
    waiting.push_back(std::move(ended));
    if (waiting.size() > 1) return;

    // The program does not end with its last window while another one is on its way.
    auto stays = std::make_shared<QEventLoopLocker>();
    services_.tasks.detach([this, file, stays, onMain = services_.tasks.onMain]() mutable {
        onMain([this, file, stays = std::move(stays), outcome = std::make_shared<Outcome>(read(file))] {
            const std::vector<Ended> waited = std::move(reading_.extract(file).mapped());
            const bool isOpen = finish(file, std::move(*outcome));
            for (const Ended& one : waited)
                if (one) one(isOpen);
        });
    });
}

bool DocumentOpener::finish(const std::string& path, Outcome outcome)
{
    if (!outcome.file) {
        services_.tellFailure(path, outcome.failure);
        return false;
    }
    services_.show(std::move(*outcome.file));
    services_.recents.note(path);
    return true;
}

} // namespace larkspool

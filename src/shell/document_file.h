#pragma once

#include "document/file_format.h"
#include "foundation/shared_bytes.h"

#include <optional>
#include <string>

namespace larkspool {

/// A document on its way into its file. It is apart from the DocumentFile that it comes from, so that any one thread may write it.
struct DocumentWriting {
    TweenDocument document;
    std::string path;
    Bytes repairedBytes{};             ///< What is kept beside the file before it is written over; none for nothing.
    std::optional<std::string> kept{}; ///< Where that lies, once it does.
    bool isWritten = false;

    /// Throws as DocumentFile::save does; what was kept by then stays.
    void write();
};

/// The file that an editor's document lives in, and whether the document has changed since it was read or written.
class DocumentFile {
public:
    /// A new document, which has no file yet. It counts as edited as soon as it differs from `document`.
    explicit DocumentFile(TweenDocument document) : saved_(std::move(document)) {}

    /// Reads the document at `path`; it is what `saved` gives. Throws FileError, naming the path, for a file that cannot be read,
    /// and DecodingError for one that is no document.
    static DocumentFile open(const std::string& path);

    /// The document as the file has it.
    const TweenDocument& saved() const { return saved_; }
    /// Empty for a new document.
    const std::string& path() const { return path_; }
    /// The file's name without its ending; "Untitled" for a new document.
    std::string displayName() const;
    /// Which of its scenes is being looked at does not count.
    bool isEdited(TweenDocument document) const
    {
        document.activeSceneIndex = saved_.activeSceneIndex;
        return !(document == saved_);
    }

    /// What reading repaired, dropped or carried over.
    const Diagnostics& diagnostics() const { return diagnostics_; }

    /// Writes the document to `path`, which is its file from then on. The earlier file stays whole until the new one is.
    ///
    /// Before a file that reading had to repair is written over for the first time, its bytes are kept beside it; where they lie is
    /// returned. Throws FileError if either cannot be written, and JsonWriteError for a document that the format cannot hold;
    /// nothing has changed then.
    std::optional<std::string> save(const TweenDocument& document, const std::string& path);

    /// @name The two halves of a save whose writing is done elsewhere. One follows the other before the next save begins.
    /// @{
    DocumentWriting writing(TweenDocument document, const std::string& path) const;
    /// Takes in what became of the writing, be it done or failed.
    void note(DocumentWriting writing);
    /// @}

private:
    TweenDocument saved_;
    std::string path_;
    Diagnostics diagnostics_;
    Bytes repairedBytes_; ///< The file as it was opened, while it still is to be kept.
};

} // namespace larkspool

// Any bytes give a document or a DecodingError. A document that was read can be written, and reads back as the same one with
// nothing left to repair.

#include "document/file_format.h"
#include "require.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace larkspool;

    DecodedDocument decoded;
    try {
        decoded = decode({data, size});
    } catch (const DecodingError&) {
        return 0;
    }
    require(!decoded.document.scenes.empty(), "a document that was read has a scene");

    const std::vector<std::uint8_t> file = encodedData(decoded.document);
    const DecodedDocument again = decode(file);
    require(again.document == decoded.document, "what was written reads back as the same document");
    require(again.diagnostics.empty(), "what was written needs no repair");
    require(encodedData(again.document) == file, "the same document is written as the same bytes");
    return 0;
}

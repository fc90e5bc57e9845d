#pragma once

#include "foundation/shared_bytes.h"
#include "platform/image.h"

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace larkspool {

/// Types of what programs exchange.
namespace PasteboardType {
inline constexpr std::string_view png = "public.png";
inline constexpr std::string_view jpeg = "public.jpeg";
inline constexpr std::string_view tiff = "public.tiff";
} // namespace PasteboardType

/// Where programs leave what was copied last, under one type or several. What is read from it is untrusted. Main thread only.
class Pasteboard {
public:
    virtual ~Pasteboard() = default;

    virtual void clearContents() = 0;
    /// Adds to the contents, in the place of what there is under the type.
    virtual void setData(std::string_view type, Bytes data) = 0;

    /// What there is under the type, if anything.
    virtual std::optional<Bytes> data(std::string_view type) const = 0;

    /// The first picture that is to be had in a form of the system's own, whatever its type; null for none.
    virtual ImageRef image() const = 0;
};

/// A pasteboard of one process.
class MemoryPasteboard final : public Pasteboard {
public:
    void clearContents() override
    {
        contents_.clear();
        image_.reset();
    }
    void setData(std::string_view type, Bytes data) override { contents_.insert_or_assign(std::string(type), std::move(data)); }
    void setImage(ImageRef image) { image_ = std::move(image); }

    std::optional<Bytes> data(std::string_view type) const override
    {
        const auto found = contents_.find(type);
        return found == contents_.end() ? std::nullopt : std::optional(found->second);
    }
    ImageRef image() const override { return image_; }

private:
    std::map<std::string, Bytes, std::less<>> contents_;
    ImageRef image_;
};

} // namespace larkspool

#pragma once

#include "platform/pasteboard.h"

namespace larkspool {

/// The clipboard of the desktop.
class SystemPasteboard final : public Pasteboard {
public:
    void clearContents() override;
    void setData(std::string_view type, Bytes data) override;
    std::optional<Bytes> data(std::string_view type) const override;
    ImageRef image() const override;
};

} // namespace larkspool

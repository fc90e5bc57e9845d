#pragma once

#include "platform/pasteboard.h"

#include <QByteArray>
#include <QString>

#include <map>

namespace larkspool {

/// The clipboard of the desktop. Whoever put something there may be gone, or give less than was promised: what cannot be had is
/// not there.
class SystemPasteboard final : public Pasteboard {
public:
    void clearContents() override;
    void setData(std::string_view type, Bytes data) override;
    std::optional<Bytes> data(std::string_view type) const override;
    ImageRef image() const override;

private:
    /// Set since the last clearing. What another program has put there is never taken along.
    std::map<QString, QByteArray> contents_;
};

} // namespace larkspool

#include "export/exporter_gpu.h"

#include "foundation/text.h"

#include <utility>

#include <fmt/format.h>

namespace larkspool {

namespace {

std::string personsWords(GPUExportError::Kind kind, std::int64_t number, const std::string& text)
{
    switch (kind) {
    case GPUExportError::Kind::pixelBufferPoolFailed: return fmt::format("CVPixelBufferPoolCreate: {}", number);
    case GPUExportError::Kind::writerSetupFailed: return "AVAssetWriter setup: " + text;
    case GPUExportError::Kind::appendFailed: return fmt::format("Append failed at frame {}: {}", number, text);
    case GPUExportError::Kind::noMetalDevice: return "No Metal device available.";
    case GPUExportError::Kind::textureAllocFailed: return "Couldn't make MTLTexture from IOSurface.";
    case GPUExportError::Kind::cancelled: return "GPU export cancelled.";
    }
    return {};
}

} // namespace

GPUExportError::GPUExportError(Kind kind, std::int64_t number, std::string text)
    : std::runtime_error(personsWords(kind, number, text)), kind_(kind), number_(number), text_(std::move(text))
{
}

GPUExportError GPUExportError::pixelBufferPoolFailed(std::int32_t status)
{
    return {Kind::pixelBufferPoolFailed, status, {}};
}

GPUExportError GPUExportError::writerSetupFailed(std::string text)
{
    return {Kind::writerSetupFailed, 0, std::move(text)};
}

GPUExportError GPUExportError::appendFailed(std::int64_t frame, std::string detail)
{
    return {Kind::appendFailed, frame, std::move(detail)};
}

std::string GPUExportError::textualForm() const
{
    switch (kind_) {
    case Kind::pixelBufferPoolFailed: return fmt::format("pixelBufferPoolFailed({})", number_);
    case Kind::writerSetupFailed: return fmt::format("writerSetupFailed({})", inDoubleQuotes(text_));
    case Kind::appendFailed: return fmt::format("appendFailed({}, {})", number_, inDoubleQuotes(text_));
    case Kind::noMetalDevice: return "noMetalDevice";
    case Kind::textureAllocFailed: return "textureAllocFailed";
    case Kind::cancelled: return "cancelled";
    }
    return {};
}

} // namespace larkspool

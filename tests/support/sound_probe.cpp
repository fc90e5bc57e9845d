#include "support/sound_probe.h"

#include "support/test_media.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <stdexcept>

#include <fmt/format.h>

namespace larkspool {

DecodedSound decodedSound(const std::string& path)
{
    const TemporaryFolder folder;
    const std::string raw = folder.path("sound.f32");
    try {
        makeMedia(raw, fmt::format("-i '{}' -map 0:a:0 -ac 2 -ar 48000 -f f32le", path));
    } catch (const std::runtime_error&) {
        return {};
    }
    const std::vector<std::uint8_t> bytes = fileBytes(raw);
    DecodedSound sound;
    for (std::size_t i = 0; i + 8 <= bytes.size(); i += 8) {
        float pair[2];
        std::memcpy(pair, bytes.data() + i, sizeof pair);
        sound.left.push_back(pair[0]);
        sound.right.push_back(pair[1]);
    }
    return sound;
}

std::string clickInput(int rate, double seconds, double clickSeconds, const std::string& layout)
{
    const std::string one = fmt::format("0.02*sin(2*PI*330*t)+if(between(t\\,{0}\\,{0}+0.00001)\\,0.5\\,0)", clickSeconds);
    std::string all = one;
    const int channels = layout == "mono" ? 1 : layout == "stereo" ? 2 : 6;
    for (int i = 1; i < channels; ++i) all += "|" + one;
    return fmt::format("-f lavfi -i \"aevalsrc=exprs={}:s={}:d={}:c={}\"", all, rate, seconds, layout);
}

std::size_t loudestFrame(const std::vector<float>& side, std::size_t from, std::size_t to)
{
    to = std::min(to, side.size());
    std::size_t loudest = from;
    for (std::size_t i = from; i < to; ++i)
        if (std::abs(side[i]) > std::abs(side[loudest])) loudest = i;
    return loudest;
}

double level(const std::vector<float>& side, double from, double to)
{
    const auto first = static_cast<std::size_t>(std::lround(from * 48'000));
    const std::size_t last = std::min(static_cast<std::size_t>(std::lround(to * 48'000)), side.size());
    if (last <= first) return 0;
    double sum = 0;
    for (std::size_t i = first; i < last; ++i) sum += static_cast<double>(side[i]) * static_cast<double>(side[i]);
    return std::sqrt(sum / static_cast<double>(last - first));
}

} // namespace larkspool

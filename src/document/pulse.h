#pragma once

#include "document/enumeration.h"
#include "foundation/uuid.h"

#include <cstdint>
#include <initializer_list>

namespace larkspool {

enum class PulseEffect { scale, glow, radiate };

template <>
struct EnumTable<PulseEffect> {
    using enum PulseEffect;
    static constexpr EnumCase<PulseEffect> cases[] = {{scale, "scale", "Scale"}, {glow, "glow", "Glow"}, {radiate, "radiate", "Radiate"}};
};

/// A set of pulse effects.
class PulseEffects {
public:
    PulseEffects() = default;
    PulseEffects(std::initializer_list<PulseEffect> effects)
    {
        for (const PulseEffect effect : effects) insert(effect);
    }

    void insert(PulseEffect effect) { bits_ |= bit(effect); }
    void remove(PulseEffect effect) { bits_ &= static_cast<std::uint8_t>(~bit(effect)); }
    bool contains(PulseEffect effect) const { return bits_ & bit(effect); }
    bool empty() const { return bits_ == 0; }

    bool operator==(const PulseEffects&) const = default;

private:
    static std::uint8_t bit(PulseEffect effect) { return static_cast<std::uint8_t>(1u << static_cast<unsigned>(effect)); }

    std::uint8_t bits_ = 0;
};

/// A one-shot accent of one second.
struct Pulse {
    UUID id = UUID::random();
    double time = 0; ///< Scene seconds.
    PulseEffects effects{};

    /// An empty set plays scale and glow.
    bool plays(PulseEffect effect) const
    {
        return effects.empty() ? effect != PulseEffect::radiate : effects.contains(effect);
    }

    bool operator==(const Pulse&) const = default;
};

} // namespace larkspool

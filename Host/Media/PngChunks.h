#pragma once

/// Looks into PNG's chunks before the decoder does, which unpacks whatever is in them. Internal to
/// the media library.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace Vexorel::PrismDrift::Host {

/// The chunks of a PNG or APNG, or of a part of one, that may stay.
struct SmallerPng {
    std::vector<std::uint8_t> bytes;
    bool wasLarge = false, wasDamaged = false;
};

/// Leaves out damaged chunks that the pixels don't need, and those texts and profiles that go
/// beyond `limit` bytes, unpacked and counted together. Nothing if all may stay.
std::optional<SmallerPng> smallerPng(const std::uint8_t* data, std::size_t size,
                                     std::int64_t limit);

/// The same PNG with what stands beside its pixels right behind the header, but without the colour
/// profile and what belongs to its palette.
std::vector<std::uint8_t> withMetadataFirst(const std::vector<std::uint8_t>& png);

/// Whether EXIF or texts stand in these chunks.
bool hasPngMetadata(const std::uint8_t* data, std::size_t size);

/// The header and the palette in the part of an APNG that comes before its frames.
std::vector<std::uint8_t> pngStart(const std::uint8_t* data, std::size_t size);

/// Throws Error, with the reason alone, where the packed pixels are fewer than the picture's size
/// takes, and for a palette or an order of the rows that the decoder makes up. The data are a PNG,
/// or, behind the start of an APNG, one of its frames. A part of a file without its header passes.
void checkPng(const std::vector<std::uint8_t>& start, const std::uint8_t* data, std::size_t size);

} // namespace Vexorel::PrismDrift::Host

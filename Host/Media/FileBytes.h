#pragma once

/// Looks at a file's bytes where its headers point. Internal to the media library.

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>

namespace Vexorel::PrismDrift::Host {

/// Bytes anywhere in a file; those beyond its end are missing.
class FileBytes {
public:
    explicit FileBytes(const std::filesystem::path& file) : mStream(file, std::ios::binary) {}

    std::string at(std::uint64_t offset, std::size_t size) {
        std::string bytes(size, '\0');
        mStream.clear();
        mStream.seekg(static_cast<std::streamoff>(offset));
        mStream.read(bytes.data(), static_cast<std::streamsize>(size));
        bytes.resize(static_cast<std::size_t>(std::max<std::streamsize>(0, mStream.gcount())));
        return bytes;
    }

    std::optional<std::uint64_t> number(std::uint64_t offset, std::size_t size, bool isBigEndian) {
        const std::string bytes = at(offset, size);
        if (bytes.size() < size) {
            return std::nullopt;
        }
        std::uint64_t value = 0;
        for (std::size_t i = 0; i < size; ++i) {
            value = value << 8 | static_cast<unsigned char>(bytes[isBigEndian ? i : size - 1 - i]);
        }
        return value;
    }

    std::uint64_t size() {
        mStream.clear();
        mStream.seekg(0, std::ios::end);
        return static_cast<std::uint64_t>(std::max<std::streamoff>(0, mStream.tellg()));
    }

private:
    std::ifstream mStream;
};

} // namespace Vexorel::PrismDrift::Host

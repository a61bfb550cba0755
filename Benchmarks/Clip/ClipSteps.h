#pragma once

/// The steps of a clip that the media library does, each alone.

#include <filesystem>

/// Decodes the frames of a video.
void decodeFrames(const std::filesystem::path& file);

/// Converts the video's first frame into a world, so many times, or back.
void convertFrames(const std::filesystem::path& file, int count);
void convertFramesBack(const std::filesystem::path& file, int count);

/// Encodes as many frames as H.264 of the program's usual settings, out of the video's first ones
/// in turn, which are in memory.
void encodeFrames(const std::filesystem::path& file, int count);

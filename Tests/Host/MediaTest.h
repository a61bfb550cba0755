#pragma once

#include "Host/Media/Clip.h"
#include "Tests/Host/ErrorOf.h"
#include "Tests/Host/ScratchFolder.h"

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <gmock/gmock.h>
#include <random>
#include <sstream>
#include <sys/resource.h>

/// Tests of pictures and clips in a folder of their own, made and judged with the ffmpeg programs.
class MediaTest : public testing::Test {
protected:
    using World = Vexorel::PrismDrift::Host::World;

    std::filesystem::path path(const std::string& name = "") const {
        return mScratch.path() / name;
    }

    /// What a command prints that is run in the folder.
    std::string shell(const std::string& command) const {
        const std::string whole = "cd '" + path().string() + "' && { " + command + "\n} >.out";
        EXPECT_EQ(std::system(whole.c_str()), 0) << command;
        std::ostringstream text;
        text << std::ifstream(path(".out")).rdbuf();
        std::filesystem::remove(path(".out"));
        return text.str();
    }
    void ffmpeg(const std::string& arguments) const {
        shell("ffmpeg -v error -y -nostdin " + arguments);
    }
    std::string ffprobe(const std::string& arguments) const {
        return shell("ffprobe -v error -of compact=p=0 " + arguments);
    }

    std::ptrdiff_t fileCount() const {
        return std::distance(std::filesystem::directory_iterator(path()), {});
    }

    /// The message of the Error that `action` throws, without the folder's name.
    template <typename Action>
    std::string errorOf(const Action& action) const {
        std::string text = ::errorOf(action);
        const std::size_t folder = text.find(path("").string());
        return folder == std::string::npos ? text : text.erase(folder, path("").string().size());
    }

    /// The same on a disk on which a file can't grow beyond so many bytes.
    template <typename Action>
    std::string errorWithLimit(rlim_t bytes, const Action& action) const {
        rlimit before{};
        getrlimit(RLIMIT_FSIZE, &before);
        const rlimit limit{bytes, before.rlim_max};
        const auto handler = std::signal(SIGXFSZ, SIG_IGN);
        setrlimit(RLIMIT_FSIZE, &limit);
        std::string text = errorOf(action);
        setrlimit(RLIMIT_FSIZE, &before);
        std::signal(SIGXFSZ, handler);
        return text;
    }

    static World noise(int width, int height, bool withAlpha) {
        World world(width, height);
        std::mt19937 random(42);
        for (int i = 0; i < width * height * 4; ++i) {
            const auto value = static_cast<std::uint8_t>(random());
            world.row(i / width / 4)[i % (width * 4)] = i % 4 || withAlpha ? value : 255;
        }
        return world;
    }

    /// The mean and the greatest distance of two pictures' channels, with alpha or without.
    static std::pair<double, int> difference(const World& left, const World& right,
                                             bool withAlpha = true) {
        const int width = left.width();
        if (width != right.width() || left.height() != right.height()) {
            return {1000, 1000};
        }
        int sum = 0;
        int greatest = 0;
        for (int i = 0; i < width * left.height() * 4; ++i) {
            const int x = i % (width * 4);
            const int one = std::abs(left.row(i / width / 4)[x] - right.row(i / width / 4)[x]);
            sum += i % 4 || withAlpha ? one : 0;
            greatest = std::max(greatest, i % 4 || withAlpha ? one : 0);
        }
        return {sum / (width * left.height() * 4.0), greatest};
    }

private:
    ScratchFolder mScratch;
};

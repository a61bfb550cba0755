// The rules that the sources are held to: who may include whom, how GL is called, names and sizes.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>

namespace Testing {
namespace {

namespace fs = std::filesystem;

const fs::path kRoot = PRISMDRIFT_SOURCE_ROOT;

/// Each folder with the folders that its files may include.
using Arrows = std::map<std::string, std::set<std::string>>;

std::string contentsOf(const fs::path& file) {
    std::ifstream stream(file);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// Reads the list in the architecture page: "folder -> folder folder …" in each line.
Arrows readArrows(const std::string& page) {
    const std::string start = "```includes\n";
    std::istringstream lines(page.substr(page.find(start) + start.size()));
    Arrows arrows;
    for (std::string line; std::getline(lines, line) && line != "```";) {
        std::istringstream words(line);
        std::string folder, arrow;
        words >> folder >> arrow;
        arrows[folder].insert(std::istream_iterator<std::string>(words), {});
        arrows[folder].insert(folder);
    }
    return arrows;
}

/// The innermost folder of the list that a path lies in; empty for none.
std::string folderOf(const std::string& path, const Arrows& arrows) {
    std::string innermost;
    for (const auto& [folder, allowed] : arrows) {
        const bool lies = path.rfind(folder, 0) == 0 && path[folder.size()] == '/';
        innermost = lies ? folder : innermost;
    }
    return innermost;
}

/// Includes only of allowed folders, no GL calls that may be newer than 3.3 core, not too long.
void expectRules(const std::string& path, const std::string& text, const Arrows& arrows) {
    EXPECT_LE(std::count(text.begin(), text.end(), '\n'), 500) << "lines of " << path;
    static const std::regex looked(
        R"(^\s*#\s*include\s*"((Shared/|PrismDrift/)?[^"]+)|\bgl::gl[A-Z]\w*|namespace\s+gl\s*;)",
        std::regex::multiline);
    const std::set<std::string>& allowed = arrows.at(folderOf(path, arrows));
    for (std::sregex_iterator it(text.begin(), text.end(), looked), end; it != end; ++it) {
        const std::string included = ((*it)[2].matched ? "Plugins/" : "") + (*it)[1].str();
        EXPECT_TRUE(!included.empty() && allowed.count(folderOf(included, arrows)) != 0)
            << path << ": " << it->str();
    }
}

TEST(Rules, HoldForEverySource) {
    const Arrows arrows = readArrows(contentsOf(kRoot / "Documentation/architecture.md"));
    std::map<fs::path, std::string> names;
    for (const char* part : {"Platform", "Plugins", "Host"}) {
        for (const auto& entry : fs::recursive_directory_iterator(kRoot / part)) {
            const fs::path& file = entry.path();
            const std::string path = fs::relative(file, kRoot).generic_string();
            if (file.extension() == ".h" || file.extension() == ".cpp") {
                ASSERT_NE(folderOf(path, arrows), "") << path << " lies in no folder of the list";
                expectRules(path, contentsOf(file), arrows);
                EXPECT_EQ(names.emplace(file.filename(), path).first->second, path);
            }
        }
    }
    EXPECT_GE(names.size(), 80U);
    // The plug-ins know nothing of the hosts, and the math of nobody, whatever the page says.
    for (const auto& [folder, allowed] : arrows) {
        const auto host = allowed.lower_bound("Host/");
        EXPECT_TRUE(folder.rfind("Host/", 0) == 0 || host == allowed.end() || *host > "Host0");
    }
    EXPECT_EQ(arrows.at("Plugins/Shared/Math").size(), 1U);
}

} // namespace
} // namespace Testing

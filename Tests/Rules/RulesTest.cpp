// The rules that the sources are held to: who may include whom, and how GL is called.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace Testing {
namespace {

namespace fs = std::filesystem;

const fs::path kRoot = PRISMDRIFT_SOURCE_ROOT;

using Arrows = std::map<std::string, std::set<std::string>>; ///< folder to what it may include

std::string contentsOf(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    std::ostringstream text;
    text << stream.rdbuf();
    return text.str();
}

/// The list in the architecture page: "folder -> folder folder …", a line each.
Arrows readArrows(const std::string& page) {
    Arrows arrows;
    std::istringstream lines(page);
    bool inList = false;
    for (std::string line; std::getline(lines, line);) {
        if (line.rfind("```", 0) == 0) {
            inList = line == "```includes";
        } else if (inList) {
            std::istringstream words(line);
            std::string folder;
            std::string arrow;
            words >> folder >> arrow;
            std::set<std::string>& allowed = arrows[folder];
            for (std::string other; words >> other;) {
                allowed.insert(other);
            }
        }
    }
    return arrows;
}

/// The folder of the list that a path from the root lies in; empty for none.
std::string folderOf(const std::string& path, const Arrows& arrows) {
    std::string best;
    for (const auto& [folder, allowed] : arrows) {
        if (path.rfind(folder + "/", 0) == 0 && folder.size() > best.size()) {
            best = folder;
        }
    }
    return best;
}

/// Where an include as it is written lies, from the root.
std::string pathOfInclude(const std::string& include) {
    return include.rfind("Shared/", 0) == 0 || include.rfind("PrismDrift/", 0) == 0
               ? "Plugins/" + include
               : include;
}

/// What the text of a file breaks, a line each.
std::vector<std::string> brokenRules(const std::string& path, const std::string& text,
                                     const Arrows& arrows) {
    std::vector<std::string> broken;
    const std::string from = folderOf(path, arrows);
    if (from.empty()) {
        broken.push_back(path + " lies in no folder of the list");
    }
    static const std::regex include(R"(^\s*#\s*include\s*"([^"]+)\")", std::regex::multiline);
    for (std::sregex_iterator it(text.begin(), text.end(), include), end; it != end; ++it) {
        const std::string written = (*it)[1];
        const std::string to = folderOf(pathOfInclude(written), arrows);
        if (to.empty() || (to != from && arrows.at(from).count(to) == 0)) {
            broken.push_back(path + " includes \"" + written + "\"");
        }
    }
    static const std::regex newerGL(R"(\bgl::gl[A-Z]\w*|using\s+namespace\s+gl\s*;)");
    for (std::sregex_iterator it(text.begin(), text.end(), newerGL), end; it != end; ++it) {
        broken.push_back(path + ": " + it->str() + " may be newer than GL 3.3 core");
    }
    return broken;
}

std::vector<fs::path> sources() {
    std::vector<fs::path> files;
    for (const char* part : {"Platform", "Plugins", "Host"}) {
        for (const auto& entry : fs::recursive_directory_iterator(kRoot / part)) {
            const auto extension = entry.path().extension();
            if (extension == ".h" || extension == ".cpp") {
                files.push_back(entry.path());
            }
        }
    }
    return files;
}

TEST(Rules, HoldForEverySource) {
    const Arrows arrows = readArrows(contentsOf(kRoot / "Documentation/architecture.md"));
    ASSERT_GE(arrows.size(), 8U);
    const auto files = sources();
    ASSERT_GE(files.size(), 40U);
    for (const fs::path& file : files) {
        const std::string path = fs::relative(file, kRoot).generic_string();
        for (const std::string& breach : brokenRules(path, contentsOf(file), arrows)) {
            ADD_FAILURE() << breach;
        }
    }
    // The plug-ins know nothing of the hosts, and the math of nobody, whatever the page says.
    for (const auto& [folder, allowed] : arrows) {
        if (folder.rfind("Host/", 0) != 0) {
            EXPECT_TRUE(std::none_of(allowed.begin(), allowed.end(), [](const auto& to) {
                return to.rfind("Host/", 0) == 0;
            })) << folder;
        }
    }
    EXPECT_TRUE(arrows.at("Plugins/Shared/Math").empty());
}

TEST(Rules, FindWhatBreaksThem) {
    const Arrows arrows = readArrows("```\nA -> B\n```\n```includes\nPlugins/Shared/Math ->\n"
                                     "Plugins/Shared/GL -> Plugins/Shared/Math\n```\n");
    ASSERT_EQ(arrows.size(), 2U);
    const auto count = [&](const std::string& path, const std::string& text) {
        return brokenRules(path, text, arrows).size();
    };
    const std::string math = "Plugins/Shared/Math/A.h";
    const std::string gl = "Plugins/Shared/GL/A.cpp";
    EXPECT_EQ(count(gl, "#include \"Shared/Math/A.h\"\n#include <map>\n"), 0U);
    EXPECT_EQ(count(math, "#include \"Shared/Math/B.h\"\n"), 0U);
    EXPECT_EQ(count(math, "\n  #  include \"Shared/GL/A.h\"\n"), 1U);
    EXPECT_EQ(count(gl, "#include \"Host/Library/A.h\"\n#include \"Elsewhere/A.h\"\n"), 2U);
    EXPECT_EQ(count("Plugins/New/A.h", ""), 1U);
    EXPECT_EQ(count(gl, "void f() { gl::glFlush(); glFlush(); gl::GLenum e; }"), 1U);
    EXPECT_EQ(count(gl, "using namespace gl33core;\nusing namespace gl;\n"), 1U);
}

} // namespace
} // namespace Testing

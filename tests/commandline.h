// lumo-import as its users run it, for the suites that do.
#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

#include "tests/places.h"

namespace lumo::test {

namespace fs = std::filesystem;

inline std::string Slurp(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

struct Outcome {
    int code;
    std::string out, err;
};

class Cli : public ::testing::Test {
protected:
    void SetUp() override {
        std::string name = (fs::temp_directory_path() / "lumo-cli-XXXXXX").string();
        ASSERT_NE(mkdtemp(name.data()), nullptr);
        folder = name;
        write("good.erg", "1\n2\n0\n2 0.25 0.75\nRain\nno yes\n10 20\n");
        write("errors.dsc",
              "belief network \"e\"\nnode a { type: discrete[2] = {\"x\", \"y\"}; }\n"
              "probability (b) { 0.5, 0.5; }\n");
        write("none.net", "Enet { }\n");
    }
    void TearDown() override { fs::remove_all(folder); }

    void write(const char* name, std::string_view text) const {
        std::ofstream(folder / name, std::ios::binary) << text;
    }
    std::string path(const char* name) const { return (folder / name).string(); }

    /// Runs a shell command in the folder; $L is the program.
    Outcome run(const std::string& command) const {
        const std::string whole = "cd '" + folder.string() + "' && L='" + Binary() + "'; { " +
                                  command + "; } >.out 2>.err </dev/null";
        const int status = std::system(whole.c_str());
        return {WEXITSTATUS(status), Slurp(folder / ".out"), Slurp(folder / ".err")};
    }
    int entries() const {
        return static_cast<int>(std::distance(fs::directory_iterator(folder), {}));
    }

    fs::path folder;
};

}  // namespace lumo::test

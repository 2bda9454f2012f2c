// Written nets read back: samples, random nets, and the files of a folder.
#include "tests/roundtrip.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <map>
#include <set>

#include "import/detect.h"
#include "tests/bif_reader.h"
#include "tests/random_net.h"

namespace lumo::test {
namespace {

namespace fs = std::filesystem;

std::vector<fs::path> FilesIn(const fs::path& folder) {
    std::vector<fs::path> files;
    for (const auto& entry : fs::recursive_directory_iterator(folder))
        if (entry.is_regular_file()) files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    return files;
}

/// Reads a file of any format; no net when its format is not recognised.
ImportResult ReadAny(const fs::path& file) {
    ImportResult result;
    const std::string text = ReadFile(file.string());
    const FormatInfo* format = DetectFormat(text, file.string());
    if (format == nullptr) return result;
    result = ReadBack(text, format->code, file.filename().c_str());
    result.format = format->name;
    return result;
}

std::string Joined(const std::vector<std::string>& lines) {
    std::string text;
    for (std::size_t i = 0; i < lines.size() && i < 10; ++i) text += lines[i] + '\n';
    return text;
}

/// What the file says of a node against the net and the announced losses.
void CompareWithBif(const Bnode_bn& node, FeatureSet lost, const BifVariable& read) {
    SCOPED_TRACE(node.name());
    const auto kept = [lost](FeatureEN feature) { return (lost & Bit(feature)) == 0; };
    EXPECT_EQ(read.name, node.name());
    ASSERT_EQ(read.states.size(), static_cast<std::size_t>(node.numStates()));
    std::set<std::string> distinct(read.states.begin(), read.states.end());
    EXPECT_EQ(distinct.size(), read.states.size());
    char* const* names = kept(FeatureEN::stateNames) ? node.variable.stateNames : nullptr;
    for (std::size_t i = 0; names != nullptr && i < read.states.size(); ++i) {
        EXPECT_TRUE(names[i] == nullptr || read.states[i] == names[i]) << names[i];
    }
    std::vector<std::string> parents;
    for (const Bnode_bn* parent : node.parents)
        if (parent->numStates() > 0) parents.emplace_back(parent->name());
    EXPECT_EQ(read.parents, parents);
    EXPECT_EQ(kept(FeatureEN::parents), static_cast<int>(parents.size()) == node.parents.N);
    const bool hasTable = node.relation.kind != RelnKindEN::none && kept(FeatureEN::table);
    ASSERT_EQ(read.hasTable, hasTable);
    if (!hasTable || node.relation.probs == nullptr) return;
    EXPECT_TRUE(std::equal(read.table.begin(), read.table.end(), node.relation.probs));
    EXPECT_EQ(read.table.size(), static_cast<std::size_t>(NumProduct(node.family)));
}

void ExpectGoodBif(const ImportResult& result) {
    const Losses losses = FindWriter("bif")->losses(*result.net);
    std::vector<BifVariable> read;
    ASSERT_NO_THROW(read = BifReader(Write(result, "bif")).read());
    std::size_t at = 0;
    for (int i = 0; i < result.net->nodes.N; ++i) {
        const FeatureSet lost = losses.nodes[static_cast<std::size_t>(i)];
        if ((lost & Bit(FeatureEN::node)) != 0) continue;
        ASSERT_LT(at, read.size());
        CompareWithBif(*result.net->nodes[i], lost, read[at++]);
    }
    EXPECT_EQ(at, read.size());
}

TEST(RoundTrip, EverySampleInEveryFormat) {
    int nets = 0;
    for (const fs::path& file : FilesIn(SAMPLES)) {
        if (file.extension() == ".expected") continue;
        const ImportResult first = ReadAny(file);
        ASSERT_NE(first.net, nullptr) << file;
        for (const RoundTripFormat& format : roundTripFormats) {
            const auto faults = RoundTrip(first, format, file.filename().c_str());
            EXPECT_TRUE(faults.empty()) << file << " as " << format.writer << '\n'
                                        << Joined(faults);
        }
        {
            SCOPED_TRACE(file);
            ExpectGoodBif(first);
        }
        ++nets;
    }
    EXPECT_GE(nets, 20);
}

TEST(RoundTrip, RandomNetsInEveryFormat) {
    for (unsigned seed = 1; seed <= 400 && !HasFatalFailure(); ++seed) {
        ImportResult first;
        Collector silent;
        const HandlerScope scope(silent);
        first.net = RandomNet(seed).make();
        for (const RoundTripFormat& format : roundTripFormats) {
            const auto faults = RoundTrip(first, format, "test");
            EXPECT_TRUE(faults.empty()) << "seed " << seed << " as " << format.writer << '\n'
                                        << Joined(faults);
        }
        SCOPED_TRACE("seed " + std::to_string(seed));
        ExpectGoodBif(first);
    }
}

/// With LUMO_ROUNDTRIP_FILES=FOLDER: every file in it through every format, and a table of how many
/// came back the same.
TEST(RoundTrip, FilesOfAFolder) {
    const char* folder = std::getenv("LUMO_ROUNDTRIP_FILES");
    if (folder == nullptr) return;
    struct Tally {
        int files = 0, same = 0, unread = 0;
        std::map<std::string, int> announced;
    };
    std::map<std::string, Tally> tallies;
    for (const fs::path& file : FilesIn(folder)) {
        const ImportResult first = ReadAny(file);
        if (first.net == nullptr) {
            ++tallies["not read"].unread;
            continue;
        }
        for (const RoundTripFormat& format : roundTripFormats) {
            Tally& tally = tallies[first.format + " to " + format.writer];
            const auto faults = RoundTrip(first, format, file.filename().c_str());
            EXPECT_TRUE(faults.empty()) << file << " as " << format.writer << '\n'
                                        << Joined(faults);
            const Writer& writer = *FindWriter(format.writer);
            const auto notes = LossNotes(writer.losses(*first.net), writer.title);
            ++tally.files;
            tally.same += faults.empty() && notes.empty();
            for (const std::string& note : notes) {
                std::string kind;  // without its count
                for (const char c : note.substr(0, note.find(" not kept")))
                    if (c < '0' || c > '9') kind += c;
                ++tally.announced[kind];
            }
        }
    }
    for (const auto& [name, tally] : tallies) {
        std::cout << name << ": " << tally.files << " files, " << tally.same << " the same";
        if (tally.unread > 0) std::cout << ", " << tally.unread << " without a net";
        std::cout << '\n';
        for (const auto& [kind, count] : tally.announced)
            std::cout << "    " << count << " files: " << kind << " not kept\n";
    }
}

}  // namespace
}  // namespace lumo::test

// Written nets read back: samples, random nets, and the files of a folder.
#include "tests/roundtrip.h"
#include "tests/places.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <map>

#include "formats/detect.h"
#include "formats/shared/describe.h"
#include "formats/shared/labels.h"
#include "library/utilities/text.h"
#include "tests/random_net.h"
#include "tests/strict_readers.h"

namespace lumo::test {
namespace {

namespace fs = std::filesystem;

/// Reads a file of any format; no net when its format is not recognised.
ImportResult ReadAny(const fs::path& file) {
    ImportResult result;
    const std::string text = ReadFile(file.string());
    const FormatInfo* format = DetectFormat(text, file.string());
    if (format == nullptr) return result;
    result = ReadBack(text, format->code, file.filename().string().c_str());
    result.format = format->name;
    return result;
}

std::string Joined(const std::vector<std::string>& lines) {
    std::string text;
    for (std::size_t i = 0; i < lines.size() && i < 10; ++i) text += lines[i] + '\n';
    return text;
}

/// A net's nodes as far as the file has them, and their places in it.
struct InFile {
    std::vector<int> nodes;
    std::map<const Bnode_bn*, std::size_t> places;

    InFile(const Bnet_bn& net, const Losses& losses) {
        for (int i = 0; i < net.nodes.N; ++i) {
            if ((losses.nodes[static_cast<std::size_t>(i)] & Bit(FeatureEN::node)) != 0) continue;
            places.emplace(net.nodes[i], nodes.size());
            nodes.push_back(i);
        }
    }
};

/// The table of a node as the model has it, its rows summing to their experience.
std::vector<float> CountsOf(const Bnode_bn& node, bool weighs) {
    const Tables tables(node.net());
    const Table table =
        node.relation.kind == RelnKindEN::real ? RealTable(node.relation) : tables.of(node);
    const std::size_t states = static_cast<std::size_t>(std::max(node.numStates(), 1));
    std::vector<float> counts(static_cast<std::size_t>(NumProduct(node.parents)) * states);
    for (std::size_t i = 0; i < counts.size(); ++i)
        counts[i] = static_cast<float>(table[static_cast<std::ptrdiff_t>(i)]) *
                    (weighs ? node.relation.exper[i / states] : 1.0F);
    return counts;
}

/// What the file says of a node against the net and the announced losses.
void CompareStrict(const Bnode_bn& node, FeatureSet lost, const StrictNode& read,
                   const InFile& file, const FormatInfo& info) {
    SCOPED_TRACE(node.name());
    const std::string_view format = info.name;
    const auto kept = [lost](FeatureEN feature) { return (lost & Bit(feature)) == 0; };
    const bool byTitle =
        format == "xmlbif" && node.title != nullptr && read.name == ToUtf8(node.title);
    EXPECT_TRUE(byTitle || read.name == node.name() || !kept(FeatureEN::name)) << read.name;
    EXPECT_EQ(read.isPlaced, info.hasPositions && HasPlaces(node.net()));
    if (kept(FeatureEN::kind)) {
        EXPECT_EQ(read.kind, KindName(node.kind));
    }
    std::vector<std::size_t> parents;
    for (const Bnode_bn* parent : node.parents)
        if (file.places.contains(parent)) parents.push_back(file.places.at(parent));
    EXPECT_TRUE(read.parents == parents ||
                ((format == "uai" || format == "bif") && !kept(FeatureEN::parents)));
    const bool hasTable = node.relation.kind != RelnKindEN::none && kept(FeatureEN::table);
    const bool mayBeUniform = format == "xdsl" || format == "uai";
    EXPECT_TRUE(read.hasTable == hasTable || (mayBeUniform && read.hasTable));
    if (kept(FeatureEN::utilityForm)) {
        ASSERT_EQ(read.states.size(), static_cast<std::size_t>(node.numStates()));
        char* const* names = kept(FeatureEN::stateNames) ? node.variable.stateNames : nullptr;
        EXPECT_TRUE(!AreStateNames(read.states) || AreKept(names, read.states));
    }
    if (!hasTable || !read.hasTable) return;
    const bool weighs = format == "hugin" && node.relation.experFromCounts;
    if (weighs && !kept(FeatureEN::experience)) return;
    const std::vector<float> counts = CountsOf(node, weighs);
    EXPECT_TRUE(std::equal(counts.begin(), counts.end(), read.table.begin(), read.table.end(),
                           [weighs](float a, float b) {
                               const float slack = a == 0 ? 0.001F : 3e-7F * a;  // of counts
                               return AreClose(a, b) || (weighs && std::fabs(a - b) <= slack);
                           }));
}

/// The nodes of a file that has parents first, in the order of the net.
StrictNet InOrder(StrictNet read, const Bnet_bn& net, const InFile& file) {
    std::map<std::string, std::size_t> places;
    for (std::size_t i = 0; i < file.nodes.size(); ++i)
        places.emplace(net.nodes[file.nodes[i]]->name(), i);
    StrictNet ordered(read.size());
    for (StrictNode& node : read) {
        for (std::size_t& parent : node.parents) parent = places.at(read[parent].name);
    }
    for (StrictNode& node : read) ordered.at(places.at(node.name)) = node;
    return ordered;
}

void ExpectStrict(const ImportResult& result) {
    for (const FormatInfo& format : WrittenFormats()) {
        SCOPED_TRACE(format.name);
        const StrictReader reader = FindStrictReader(format.name);
        ASSERT_NE(reader, nullptr) << "strict_readers.h has none of this format";
        const Losses losses = format.losses(*result.net);
        StrictNet read;
        ASSERT_NO_THROW(read = reader(Write(result, format.name)));
        const InFile file(*result.net, losses);
        ASSERT_EQ(read.size(), file.nodes.size());
        if (std::string_view(format.name) == "xdsl") read = InOrder(read, *result.net, file);
        for (std::size_t i = 0; i < read.size(); ++i) {
            CompareStrict(*result.net->nodes[file.nodes[i]],
                          losses.nodes[static_cast<std::size_t>(file.nodes[i])], read[i], file,
                          format);
        }
    }
}

/// Through every format, and what the strict readers say; whether each came back the same.
std::vector<bool> ExpectRoundTrips(const Trip& first, const char* name) {
    std::vector<bool> same;
    for (const FormatInfo& format : WrittenFormats()) {
        const auto faults = RoundTrip(first, format, name);
        EXPECT_TRUE(faults.empty()) << "as " << format.name << '\n' << Joined(faults);
        same.push_back(faults.empty());
    }
    ExpectStrict(first.result);
    return same;
}

class RandomNets : public testing::TestWithParam<unsigned> {};

TEST_P(RandomNets, InEveryFormat) {
    for (unsigned seed = GetParam(); seed < GetParam() + 50 && !HasFatalFailure(); ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        ImportResult made;
        Collector silent;
        const HandlerScope scope(silent);
        made.net = RandomNet(seed).make();
        ExpectRoundTrips(Trip(std::move(made)), "test");
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomNets, testing::Range(1U, 401U, 50U),
                         testing::PrintToStringParamName());

/// Every sample through every format; with LUMO_ROUNDTRIP_FILES=FOLDER every file in it, and a
/// table of how many came back the same.
TEST(RoundTrip, EverySampleInEveryFormat) {
    const char* folder = std::getenv("LUMO_ROUNDTRIP_FILES");
    struct Tally {
        int files = 0, same = 0, unread = 0;
        std::map<std::string, int> announced;
    };
    std::map<std::string, Tally> tallies;
    for (const fs::path& file : FilesIn(folder != nullptr ? folder : Samples())) {
        SCOPED_TRACE(file);
        const Trip trip(ReadAny(file));
        const ImportResult& first = trip.result;
        if (first.net == nullptr) {
            ++tallies["not read"].unread;
            continue;
        }
        const std::vector<bool> same = ExpectRoundTrips(trip, file.filename().string().c_str());
        for (std::size_t i = 0; i < same.size(); ++i) {
            const FormatInfo& writer = WrittenFormats()[i];
            Tally& tally = tallies[first.format + " to " + writer.name];
            const auto notes = LossNotes(writer.losses(*first.net), writer.title);
            ++tally.files;
            tally.same += same[i] && notes.empty();
            for (const std::string& note : notes) {
                std::string kind;  // without its count
                for (const char c : note.substr(0, note.find(" not kept")))
                    if (c < '0' || c > '9') kind += c;
                ++tally.announced[kind];
            }
        }
    }
    if (folder == nullptr) {
        EXPECT_EQ(tallies["not read"].unread, 0);
        return;
    }
    for (const auto& [name, tally] : tallies) {
        std::cout << name << ": " << tally.files << " files, " << tally.same << " the same";
        if (tally.unread > 0) std::cout << ", " << tally.unread << " without a net";
        std::cout << '\n';
        for (const auto& [kind, count] : tally.announced)
            std::cout << "    " << count << " files: " << kind << " not kept\n";
    }
}

/// The numbers of the node's table as doubles; none without a table.
std::vector<double> NumbersOf(const Bnode_bn& node) {
    const Tables tables(node.net());
    const bool real = node.relation.kind == RelnKindEN::real;
    const Table table = real ? RealTable(node.relation) : tables.of(node);
    if (!table) return {};
    const int states = real ? std::max(node.numStates(), 1) : node.numStates();
    std::vector<double> numbers(static_cast<std::size_t>(NumProduct(node.parents)) *
                                static_cast<std::size_t>(states));
    for (std::size_t i = 0; i < numbers.size(); ++i)
        numbers[i] = table[static_cast<std::ptrdiff_t>(i)];
    return numbers;
}

/// The net as it comes back through a format; the tables that it keeps have the same doubles.
ImportResult ExpectSameNumbers(const ImportResult& before, const FormatInfo& format) {
    SCOPED_TRACE(format.name);
    const Losses losses = FindWriter(format.name)->losses(*before.net);
    ImportResult after = ReadBack(Write(before, format.name), format.code, "numbers");
    std::size_t at = 0;
    const bool reordered = (losses.net & Bit(nodeOrder)) != 0;
    for (int i = 0; i < before.net->nodes.N; ++i) {
        const FeatureSet lost = losses.nodes[static_cast<std::size_t>(i)];
        if ((lost & Bit(FeatureEN::node)) != 0) continue;
        const Bnode_bn& node = *before.net->nodes[i];
        const Bnode_bn* const read = reordered ? after.net->findNodeLabeled(node.name())
                                               : after.net->nodes[static_cast<int>(at)];
        ++at;
        if (read == nullptr || (lost & Of({table, exactTable, noTable, parents})) != 0) continue;
        EXPECT_EQ(NumbersOf(node), NumbersOf(*read)) << node.name();
    }
    return after;
}

/// Every number that a file says is the same double in its own format and through any other two.
TEST(RoundTrip, NumbersAreTheSameDoubles) {
    for (const fs::path& file : FilesIn(Samples())) {
        SCOPED_TRACE(file);
        const ImportResult first = ReadAny(file);
        if (first.net == nullptr) continue;
        for (const FormatInfo& format : WrittenFormats()) {
            const ImportResult second = ExpectSameNumbers(first, format);
            for (const FormatInfo& other : WrittenFormats()) ExpectSameNumbers(second, other);
        }
        const Json nodes = Flat(first)["nodes"];
        for (int i = 0; i < first.net->nodes.N; ++i) {
            const Json& table = nodes[static_cast<std::size_t>(i)]["relation.table"];
            if (!table.is_null()) {
                EXPECT_EQ(table.get<std::vector<double>>(), NumbersOf(*first.net->nodes[i]));
            }
        }
    }
}

}  // namespace
}  // namespace lumo::test

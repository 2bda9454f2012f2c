// Imports in which memory runs out, at every allocation in turn, and files that cannot be read as
// a whole.
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <thread>
#include <utility>

#include "export/writers.h"
#include "formats/detect.h"
#include "tests/places.h"
#include "tests/support.h"

namespace {

/// Counts allocations of this thread, and fails the one it is told to.
struct Allocations {
    long long made = 0;
    long long failing = 0;  ///< 0: none
    long long live = 0;     ///< made by new and not deleted
    bool counting = false;
    std::size_t tooLarge = SIZE_MAX;  ///< bytes that one allocation cannot have

    bool fails(std::size_t size) { return (counting && ++made == failing) || size >= tooLarge; }
};
thread_local Allocations allocations;

/// What reading from a file does to this thread.
enum class Reading { whole, piecemeal, interrupted, shortened, failing };
thread_local Reading reading = Reading::whole;
thread_local std::size_t bytesLeft = 0;  // of a file that is shortened
}  // namespace

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    void* const block = allocations.fails(size) ? nullptr : std::malloc(size == 0 ? 1 : size);
    allocations.live += block != nullptr;
    return block;
}
void* operator new(std::size_t size) {
    void* const block = operator new(size, std::nothrow);
    if (block == nullptr) throw std::bad_alloc();
    return block;
}
void* operator new[](std::size_t size) { return operator new(size); }
void operator delete(void* block) noexcept {
    if (block != nullptr) --allocations.live;
    std::free(block);
}
void operator delete[](void* block) noexcept { operator delete(block); }
void operator delete(void* block, std::size_t) noexcept { operator delete(block); }
void operator delete[](void* block, std::size_t) noexcept { operator delete(block); }

// What the library's own allocator calls; the linker puts these in their place.
extern "C" void* __real_realloc(void* block, std::size_t size);
extern "C" void* __wrap_realloc(void* block, std::size_t size) {
    return allocations.fails(size) ? nullptr : __real_realloc(block, size);
}
extern "C" void* __real_aligned_alloc(std::size_t alignment, std::size_t size);
extern "C" void* __wrap_aligned_alloc(std::size_t alignment, std::size_t size) {
    return allocations.fails(size) ? nullptr : __real_aligned_alloc(alignment, size);
}

extern "C" ssize_t __real_read(int file, void* out, std::size_t most);
extern "C" ssize_t __wrap_read(int file, void* out, std::size_t most) {
    thread_local int calls = 0;
    const bool odd = ++calls % 2 == 1;
    if (reading == Reading::shortened)
        return __real_read(file, out, std::min(most, std::exchange(bytesLeft, 0)));
    if (reading == Reading::failing || (reading == Reading::interrupted && odd)) {
        errno = reading == Reading::failing ? EIO : EINTR;
        return -1;
    }
    return __real_read(file, out,
                       reading == Reading::whole ? most : std::min<std::size_t>(most, 7));
}

namespace lumo::test {
namespace {

struct ReadingAs {
    explicit ReadingAs(Reading how) { reading = how; }
    ~ReadingAs() { reading = Reading::whole; }
    ReadingAs(const ReadingAs&) = delete;
    ReadingAs& operator=(const ReadingAs&) = delete;
};

/// Counts while it lives; the allocation of that number fails.
struct Counting {
    explicit Counting(long long failing = 0) {
        allocations.made = 0;
        allocations.failing = failing;
        allocations.counting = true;
    }
    ~Counting() { allocations.counting = false; }
    Counting(const Counting&) = delete;
    Counting& operator=(const Counting&) = delete;
};

/// A handler with memory of its own.
class Observer : public ReportHandler {
public:
    void show(const rept_kt& report) override {
        const bool counted = std::exchange(allocations.counting, false);
        worst = std::max(worst, report.severity);
        outOfMemory |= std::strstr(report.message, "memory") != nullptr;
        allocations.counting = counted;
    }
    void print(const char*) override {}
    bool ask(int, const char*) override { return false; }
    void waitBegin(const char*) override {}
    void waitEnd(const char*) override {}

    int worst = 0;
    bool outOfMemory = false;
};

struct Sample {
    std::string path;
    int format;
    int stride;  ///< of the allocations tried: a layout makes very many
};
void PrintTo(const Sample& sample, std::ostream* out) { *out << sample.path; }

/// The largest sample of each format that is not too large to be read for each of its allocations.
std::vector<Sample> ChosenSamples() {
    constexpr std::uintmax_t most = 2500;
    std::vector<Sample> chosen;
    for (const FormatInfo& format : Formats()) {
        Sample largest{"", format.code, format.hasPositions ? 1 : 97};
        std::uintmax_t size = 0;
        for (const auto& path : FilesIn(Samples() + "/" + format.name)) {
            const std::uintmax_t its = std::filesystem::file_size(path);
            const bool isLaidOut = path.string().find("no_positions") != std::string::npos;
            if (isLaidOut || its > most || its <= size) continue;
            largest.path = path;
            size = its;
        }
        chosen.push_back(largest);
    }
    chosen.push_back({Samples() + "/xmlbif/no_positions.xml", FormatXMLBIF, 997});
    return chosen;
}

class Faults : public ::testing::TestWithParam<Sample> {
protected:
    const std::string path = GetParam().path;

    OwnedNet import(Observer& observer) const {
        const HandlerScope scope(observer);
        return OwnedNet(ReadForeignNetFile_kt(path.c_str(), GetParam().format, false));
    }

    /// Imports with the n-th allocation failing. Whether the net is whole; if not, the net is sound
    /// and memory was reported.
    bool isWhole(long long n, const std::string& whole) const {
        Observer observer;
        const Counting counting(n);
        const OwnedNet net = import(observer);
        allocations.counting = false;
        if (net != nullptr && NetText(net.get()) == whole) return true;
        EXPECT_GT(observer.worst, SeverityWarning);
        EXPECT_TRUE(observer.outOfMemory);
        ExpectConsistent(net.get());
        return false;
    }
};

// Whatever fails, nothing is left behind, the report says why, and the next import works.
TEST_P(Faults, EveryAllocationFailsOnce) {
    long long total = 0;
    std::string whole;
    for (int i = 0; i < 2; ++i) {  // the first fills what lasts as long as the thread
        Observer observer;
        const Counting counting;
        const OwnedNet net = import(observer);
        total = allocations.made;
        allocations.counting = false;
        whole = NetText(net.get());
    }
    ASSERT_GT(total, 30);
    int survived = 0;
    for (long long n = 1; n <= total; n += GetParam().stride) {
        SCOPED_TRACE("allocation " + std::to_string(n) + " of " + std::to_string(total));
        long long live = 0;
        long long vectors = 0;
        for (int i = 0; i < 2; ++i) {  // what is left behind comes to light the second time
            live = allocations.live;
            vectors = VectMemoryInUse_kt();
            survived += isWhole(n, whole);
        }
        EXPECT_EQ(allocations.live, live);
        EXPECT_EQ(VectMemoryInUse_kt(), vectors);
        if (HasFailure()) return;
    }
    EXPECT_LT(survived, total);
    // The lock is free for others.
    std::thread([this, &whole] {
        Observer observer;
        EXPECT_EQ(NetText(import(observer).get()), whole);
    }).join();
}

// A file comes in any pieces; one that shrinks meanwhile is read up to where it ends, and a device
// that fails gives no net.
TEST_P(Faults, FilesComeInPieces) {
    Observer observer;
    const std::string whole = NetText(import(observer).get());
    const int worst = observer.worst;
    for (const Reading how : {Reading::piecemeal, Reading::interrupted}) {
        const ReadingAs scope(how);
        EXPECT_EQ(NetText(import(observer).get()), whole);
    }
    EXPECT_EQ(observer.worst, worst);
    {
        const std::string text = ReadFile(path);
        const std::string half = text.substr(0, text.size() / 2);
        const ReadingAs scope(Reading::shortened);
        bytesLeft = half.size();
        const OwnedNet net = import(observer);
        EXPECT_EQ(NetText(net.get()),
                  NetText(ImportText(half, GetParam().format, path.c_str()).net.get()));
    }
    const ReadingAs scope(Reading::failing);
    EXPECT_EQ(import(observer), nullptr);
    EXPECT_GT(observer.worst, SeverityWarning);
}

INSTANTIATE_TEST_SUITE_P(Samples, Faults, ::testing::ValuesIn(ChosenSamples()),
                         [](const auto& sample) {
                             const std::filesystem::path path = sample.param.path;
                             return path.parent_path().filename().string() + "_" +
                                    std::to_string(sample.param.stride);
                         });

/// A table of 600,000 numbers, between two of a few.
TEST(TableWithoutMemory, CostsItself) {
    std::string text = "BAYES\n3\n600 1000 2\n3\n1 0\n2 0 1\n1 2\n600 ";
    text += ".5 .5 " + Repeated("0 ", 598) + "600000 ";
    text += Repeated(".5 .5 " + Repeated("0 ", 998), 600) + "2 0.5 0.5\n";
    ImportResult result;
    result.net = ImportText(text, FormatUAI).net;
    ASSERT_NE(result.net, nullptr);
    for (const FormatInfo& format : Formats()) {
        const Writer* const writer = FindWriter(format.name);
        if (writer == nullptr) continue;
        SCOPED_TRACE(format.name);
        std::ostringstream written;
        writer->write(result, written);
        for (const bool leniently : {false, true}) {
            ReadOptions options;
            options.lenient = leniently;
            text = written.str();
            const Imported whole = ImportText(text, format.code, "x", false, options);
            EXPECT_NE(whole.net->nodes[1]->relation.probs, nullptr);
            ReleaseKeptMemory_kt();
            allocations.tooLarge = 2'400'000;  // bytes of the table
            const Imported got = ImportText(text, format.code, "x", false, options);
            allocations = {};
            ASSERT_NE(got.net, nullptr);
            EXPECT_EQ(got.net->nodes[1]->relation.probs, nullptr);
            EXPECT_NE(got.net->nodes[0]->relation.probs, nullptr);
            EXPECT_NE(got.net->nodes[2]->relation.probs, nullptr);
            EXPECT_NE(got.seen.text().find("out of memory"), std::string::npos) << got.seen.text();
        }
    }
}

}  // namespace
}  // namespace lumo::test

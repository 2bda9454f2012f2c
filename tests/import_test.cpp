// The import service: what it reads, how it tells, and that imports do not meet.
#ifndef _WIN32
#include <sys/wait.h>
#include <unistd.h>
#endif

#include <atomic>
#include <chrono>
#include <filesystem>
#include <string>
#include <thread>

#include "formats/import.h"
#include "tests/places.h"
#include "tests/support.h"

namespace lumo::test {
namespace {

/// A result as text.
std::string TextOf(const ImportResult& result) {
    std::ostringstream out;
    out << result.format << '\n' << NetText(result.net.get());
    for (const ReportRecord& report : result.reports)
        out << report.number << ' ' << report.line << ':' << report.column << ' ' << report.message
            << " | " << report.sourceLine << '\n';
    for (const SkippedWord& word : result.skipped) out << word.word << ' ' << word.count << '\n';
    return out.str();
}

bool Reports(const ImportResult& result, int number, std::string_view part) {
    return std::ranges::any_of(result.reports, [&](const ReportRecord& report) {
        return report.number == number && report.message.find(part) != std::string::npos;
    });
}

/// A Hugin net of a chain of nodes, with an unknown field in each.
std::string Chain(int nodes) {
    std::string text = "net {}\n";
    for (int i = 0; i < nodes; ++i)
        text += "node n" + std::to_string(i) + " { states = (\"a\" \"b\"); odd = 1; }\n";
    for (int i = 1; i < nodes; ++i)
        text += "potential (n" + std::to_string(i) + " | n" + std::to_string(i - 1) +
                ") { data = ((0.5 0.5)(0.25 0.75)); }\n";
    return text;
}

TEST(Import, AFileAndItsBytesAreReadAlike) {
    for (const FormatInfo& format : Formats()) {
        for (const auto& sample : FilesIn(Samples() + "/" + std::string(format.name))) {
            const std::string path = sample.string();
            SCOPED_TRACE(path);
            ImportOptions options;
            options.sourceLines = true;
            const ImportResult file = Import(FromFile(path), options);
            const std::string text = ReadFile(path);
            EXPECT_NE(file.net, nullptr);
            EXPECT_EQ(TextOf(file), TextOf(Import(FromBytes(text, path), options)));
        }
    }
}

TEST(Import, WhatCannotBeOpenedSaysWhy) {
    struct Case {
        const char* path;
        int error;
        const char* message;
    };
    const Case cases[] = {
        {"missing.net", ENOENT, "No such file or directory"},
        {"missing/*.net", ENOENT, "No such file or directory; no name matches the pattern"},
        {"https://example.org/a.net", ENOENT, "it is an address of the web"},
        {"/", EISDIR, "Is a directory; -r reads"},
    };
    for (const Case& c : cases) {
        const ImportResult result = Import(FromFile(c.path));
        EXPECT_EQ(result.net, nullptr);
        EXPECT_EQ(result.error, c.error) << c.path;
        ASSERT_EQ(result.reports.size(), 1U) << c.path;
        EXPECT_EQ(result.reports[0].message.find(c.message), 0U) << result.reports[0].message;
        EXPECT_EQ(result.reports[0].file, c.path);
    }
}

TEST(Import, AWatcherMayImport) {
    struct Nested : ImportWatcher {
        bool report(const ReportRecord& report) override {
            seen.push_back(report.message);
            if (depth++ == 0) inner = Import(FromBytes("net { } node A { odd = 2; }", "inner.net"));
            return report.severity > SeverityNotice;
        }
        std::vector<std::string> seen;
        ImportResult inner;
        int depth = 0;
    };
    const std::string text = Chain(50);
    Nested watcher;
    ImportOptions options;
    options.watcher = &watcher;
    const ImportResult outer = Import(FromBytes(text, "outer.net"), options);
    ASSERT_NE(watcher.inner.net, nullptr);
    EXPECT_EQ(watcher.inner.net->nodes.N, 1);
    for (const ReportRecord& report : watcher.inner.reports) EXPECT_EQ(report.file, "inner.net");
    options.watcher = nullptr;
    ImportResult alone = Import(FromBytes(text, "outer.net"), options);
    EXPECT_EQ(watcher.seen.size(), alone.reports.size());
    std::erase_if(alone.reports, [](const auto& r) { return r.severity <= SeverityNotice; });
    EXPECT_EQ(TextOf(outer), TextOf(alone));
}

TEST(Import, EachCallSaysWhetherToCondense) {
    const std::string path = Samples() + "/dxpress/alarm-bell.dxp";
    for (const bool condense : {true, false, true}) {
        ImportOptions options;
        options.condense = condense;
        const ImportResult result = Import(FromFile(path), options);
        ASSERT_NE(result.net, nullptr);
        int noisy = 0;
        for (const Bnode_bn* node : result.net->nodes) {
            if (node->relation.kind != RelnKindEN::noisyMax) continue;
            ++noisy;
            EXPECT_EQ(node->relation.probs == nullptr, condense) << node->name();
        }
        EXPECT_GT(noisy, 0);
    }
}

// ---- Memory --------------------------------------------------------------------------------

TEST(Import, TablesBeyondTheMemoryCostThemselves) {
    // 2^20 entries of a few bytes, and a table that fits.
    std::string bif = "network x { }\n";
    for (int i = 0; i < 21; ++i)
        bif += "variable v" + std::to_string(i) + " { type discrete [ 2 ] { a, b }; }\n";
    std::string all = "v0 | v1";
    for (int i = 2; i < 20; ++i) all += ", v" + std::to_string(i);
    bif += "probability ( " + all +
           " ) { default 0.5, 0.5; }\nprobability ( v20 | v1 ) { (a) 0.5, "
           "0.5; (b) 0.25, 0.75; }\n";
    ImportOptions options;
    const ImportResult whole = Import(FromBytes(bif, "x.bif"), options);
    ASSERT_NE(whole.net, nullptr);
    EXPECT_NE(whole.net->nodes[0]->relation.probs, nullptr);
    options.mostMemory = 1 << 20;
    const ImportResult part = Import(FromBytes(bif, "x.bif"), options);
    ASSERT_NE(part.net, nullptr);
    EXPECT_EQ(part.net->nodes.N, 21);
    EXPECT_EQ(part.net->nodes[0]->relation.probs, nullptr);
    EXPECT_NE(part.net->nodes[20]->relation.probs, nullptr);
    EXPECT_EQ(part.status(), StatusEN::errors);
    EXPECT_TRUE(std::ranges::any_of(part.reports, [](const ReportRecord& report) {
        return report.message.find(" bytes wanted, ") != std::string::npos &&
               report.message.find(" allowed in all) ") != std::string::npos;
    })) << TextOf(part);
}

TEST(Import, ATextBeyondTheMemoryIsRefused) {
    const std::string text = Chain(5000);
    ImportOptions options;
    options.mostMemory = 64 * 1024;
    const std::string path = ::testing::TempDir() + "large.net";
    std::ofstream(path, std::ios::binary) << text;
    const ImportResult large = Import(FromFile(path), options);
    std::filesystem::remove(path);
    EXPECT_TRUE(large.net == nullptr && Reports(large, -5439, "takes more than the"))
        << TextOf(large);
#ifndef _WIN32
    // An end there is none of; and its text is none.
    options.format = FindFormat(FormatHugin);
    EXPECT_TRUE(Reports(Import(FromFile("/dev/zero"), options), -5439, "'/dev/zero' takes more"));
    EXPECT_EQ(Import(FromFile("/dev/zero")).net, nullptr);
#endif
}

// ---- Side by side --------------------------------------------------------------------------

#ifndef _WIN32
/// Forks children that each run the work, and how many came to their end.
template <class WORK>
int Forked(int children, WORK work) {
    constexpr unsigned patience = 120;  // seconds, for a child that hangs
    int ended = 0;
    for (int i = 0; i < children; ++i) {
        const pid_t child = ::fork();
        if (child == 0) {
            ::alarm(patience);
            ::_exit(work() ? 0 : 1);
        }
        int status = -1;
        ::waitpid(child, &status, 0);
        ended += WIFEXITED(status) && WEXITSTATUS(status) == 0 ? 1 : 0;
    }
    return ended;
}

// Also through the published entry, which has a lock.
TEST(Import, ForkedChildrenReadWhileAThreadDoes) {
    const std::string large = Chain(20000);
    std::atomic<bool> stop = false;
    std::atomic<int> rounds = 0;
    std::thread reader([&] {
        while (!stop) {
            ImportText(large, FormatHugin);
            Import(FromBytes(large, "large.net"));
            ++rounds;
        }
    });
    constexpr const char* small = "net { } node A { } potential (A) { data = (1 0); }";
    const int ended = Forked(25, [&] {
        const bool published = ImportText(small, FormatHugin).net != nullptr;
        return published && Import(FromBytes(small, "small.net")).net != nullptr;
    });
    stop = true;
    reader.join();
    EXPECT_EQ(ended, 25);
}
#endif

TEST(Import, ThreadsGiveWhatOneGives) {
    std::vector<std::pair<std::string, std::string>> files;  // and their results
    for (const FormatInfo& format : Formats())
        for (const auto& path : FilesIn(Samples() + "/" + std::string(format.name)))
            files.emplace_back(path.string(), TextOf(Import(FromFile(path.string()))));
    ASSERT_FALSE(files.empty());
    std::vector<std::thread> threads;
    std::atomic<int> different = 0;
    for (std::size_t t = 0; t < 8; ++t)
        threads.emplace_back([&, t] {
            for (std::size_t i = 0; i < files.size(); ++i) {
                const auto& [path, wanted] = files[(i + 5 * t) % files.size()];
                if (TextOf(Import(FromFile(path))) != wanted) ++different;
            }
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(different, 0);
}

}  // namespace
}  // namespace lumo::test

// Eight threads importing at once give what one thread gives.
#include <thread>

#include "formats/formats.h"
#include "formats/shared/placing.h"
#include "tests/places.h"
#include "tests/support.h"

namespace lumo::test {
namespace {

struct Job {
    std::string name, text, expected;
    int format;
};

std::string ResultOf(const Job& job) {
    const Imported got = ImportText(job.text, job.format, job.name.c_str());
    return NetText(got.net.get()) + got.seen.text();
}

/// The samples with the results of reading them one after the other.
std::vector<Job> Jobs() {
    std::vector<Job> jobs;
    for (const FormatInfo& format : Formats())
        for (const auto& path : FilesIn(Samples() + "/" + format.name))
            jobs.push_back({path.filename().string(), ReadFile(path.string()), "", format.code});
    for (Job& job : jobs) job.expected = ResultOf(job);
    return jobs;
}

void ExpectSameInEightThreads(const std::vector<Job>& jobs) {
    ASSERT_FALSE(jobs.empty());
    std::vector<std::vector<std::string>> results(8, std::vector<std::string>(jobs.size()));
    std::vector<std::thread> threads;
    for (std::size_t t = 0; t < results.size(); ++t)
        threads.emplace_back([&jobs, t, &mine = results[t]] {
            for (std::size_t i = 0; i < jobs.size(); ++i) {
                const std::size_t k = (i + t) % jobs.size();  // each thread starts elsewhere
                mine[k] = ResultOf(jobs[k]);
            }
        });
    for (std::thread& thread : threads) thread.join();
    for (const auto& mine : results)
        for (std::size_t i = 0; i < jobs.size(); ++i)
            EXPECT_EQ(mine[i], jobs[i].expected) << jobs[i].name;
}

TEST(Threads, AllFormats) { ExpectSameInEightThreads(Jobs()); }

TEST(Threads, AskForPositionsThatAreYetToBeComputed) {
    const std::string text = ReadFile(Samples() + "/bif/classic.bif");
    const auto places = [](const Bnet_bn& net) {
        std::vector<coord_kt> all;
        for (const Vnode_kt* vnode : net.vnets[0]->vnodes) all.push_back(vnode->position());
        return all;
    };
    for (int round = 0; round < 10; ++round) {
        const Imported got = ImportText(text, FormatBIF);
        LeaveToLayout(*got.net->vnets[0]);
        std::vector<std::vector<coord_kt>> seen(4);
        std::vector<std::thread> threads;
        for (auto& mine : seen) threads.emplace_back([&] { mine = places(*got.net); });
        for (std::thread& thread : threads) thread.join();
        for (const auto& mine : seen) EXPECT_EQ(mine, seen[0]);
        EXPECT_NE(seen[0].front(), seen[0].back());
    }
}

}  // namespace
}  // namespace lumo::test

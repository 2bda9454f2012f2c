#include "app/batch.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <iostream>
#include <map>
#include <memory>
#include <system_error>
#include <utility>
#include <vector>

#include "app/convert.h"
#include "app/summary.h"
#include "app/terminal.h"
#include "export/output.h"
#include "library/utilities/Utils.h"
#include "library/utilities/system.h"
#include "library/utilities/system_processes.h"
#include "library/utilities/text.h"

namespace lumo::app {
namespace {

#ifdef LUMO_HAS_PROCESSES  // elsewhere one file is read after the other

/// What is printed about finished files whose turn to be shown has not come lies in memory, so
/// there is a limit to them.
constexpr std::size_t maxAhead = 10000;
constexpr std::size_t longestRun = 64;  ///< files that a worker takes at once
constexpr std::size_t runsEach = 4;     ///< into which the files left are cut for each worker
constexpr auto longestSilence = std::chrono::milliseconds(50);  ///< of a worker with news

/// Files by their place in the list, from first up to last.
struct Run {
    std::size_t first = 0, last = 0;
    bool empty() const { return first == last; }
};

/// How a file went, and where what is printed of it ends.
struct Done {
    int exitCode = ExitNothing;
    long long out = 0, error = 0;
    long long told = 0;      ///< which follows what is printed on standard output
    WorstReport worst = {};  ///< of all files of the worker
};

/// What the workers tell of every file, in memory that they share with the batch.
class Records {
public:
    explicit Records(std::size_t files)
        : memory_(files * sizeof(Record)), records_(static_cast<Record*>(memory_.data())) {}

    void write(std::size_t place, const Done& done) {
        records_[place].done = done;
        records_[place].written.store(true, std::memory_order_release);
    }
    /// Null when there is none yet.
    const Done* read(std::size_t place) const {
        const Record& record = records_[place];
        return record.written.load(std::memory_order_acquire) ? &record.done : nullptr;
    }

private:
    struct Record {
        Done done;
        std::atomic<bool> written;
    };
    system::SharedMemory memory_;
    Record* records_;
};

/// The two streams of a worker.
struct Printed {
    system::MemoryFile out, error;
};

/// A finished file: what was printed of it stands between the two marks.
struct Result {
    std::shared_ptr<const Printed> printed;
    Done from, to;
};

/// A process that works on runs of files; the batch sends them, and it sends a byte when there are
/// new records.
struct Worker {
    system::Child process;
    Run run;  ///< what it has to do still
    std::shared_ptr<const Printed> printed;
    Done before;  ///< where what is printed of the present file begins
};

/// The processes of one batch.
class Pool {
public:
    Pool(const Options& options, FileWork work, const TellFunction& tell)
        : options_(options),
          work_(work),
          tell_(tell),
          records_(options.files.size()),
          workers_(std::min(static_cast<std::size_t>(options.jobs), options.files.size())) {}

    Totals run();

private:
    void giveWork(Worker& worker);
    bool start(Worker& worker);
    void runWorker(const Worker& worker, const system::Channel& channel);
    Done workOn(const InputFile& file, Console& console) const;
    void waitForSome();
    void hear(Worker& worker);
    void bury(Worker& worker);
    void finish(Worker& worker, const Done& done);
    void showFinished();
    void stop(int error);

    const Options& options_;
    const FileWork work_;
    const TellFunction& tell_;
    Records records_;
    std::vector<Worker> workers_;
    std::map<std::size_t, Result> finished_;  ///< by place, not shown yet
    std::size_t next_ = 0;                    ///< the next file to give to a worker
    std::size_t shown_ = 0;
    Totals totals_;
};

/// Sends the worker a run unless it has one, and starts it when there is none. The run of a worker
/// that died goes to the one that takes its place.
void Pool::giveWork(Worker& worker) {
    const bool again = !worker.run.empty();
    if (again && worker.process.isRunning()) return;
    if (!again) {
        const std::size_t end = std::min(options_.files.size(), shown_ + maxAhead);
        if (next_ >= end) return;
        const std::size_t share = (options_.files.size() - next_) / (runsEach * workers_.size());
        worker.run = {next_, std::min(end, next_ + std::clamp<std::size_t>(share, 1, longestRun))};
        next_ = worker.run.last;
    }
    if (!worker.process.isRunning() && !start(worker)) {
        std::cerr << "lumo-import: cannot start a process\n";
        while (!worker.run.empty()) finish(worker, {});
        return;
    }
    // A worker that is dead already is found when it is waited for.
    worker.process.channel().send(&worker.run, sizeof worker.run);
}

bool Pool::start(Worker& worker) {
    worker.printed = std::make_shared<const Printed>();
    worker.before = {};
    if (!worker.printed->out.isOpen() || !worker.printed->error.isOpen()) return false;
    std::cout.flush();
    return worker.process.start(
        [&](const system::Channel& channel) { runWorker(worker, channel); });
}

void Pool::runWorker(const Worker& worker, const system::Channel& channel) {
    for (Worker& other : workers_)
        if (&other != &worker) other.process.close();
    Console console(options_, false);  // looks at the real standard error
    worker.printed->out.replace(system::StandardOutput);
    worker.printed->error.replace(system::StandardError);
    Run run;
    while (channel.receive(&run, sizeof run)) {
        auto told = std::chrono::steady_clock::now();
        while (!run.empty()) {
            records_.write(run.first, workOn(options_.files[run.first], console));
            ++run.first;
            const auto now = std::chrono::steady_clock::now();
            if (!run.empty() && now - told < longestSilence) continue;
            told = now;
            if (!channel.send("", 1)) return;
        }
    }
}

Done Pool::workOn(const InputFile& file, Console& console) const {
    Done done;
    std::string told;
    done.exitCode = work_(file, options_, console, told);
    std::cout.flush();
    std::cerr.flush();
    done.out = system::Written(system::StandardOutput);
    WriteStandardOutput(told);
    done.told = system::Written(system::StandardOutput);
    done.error = system::Written(system::StandardError);
    done.worst = console.worst();
    return done;
}

void Pool::waitForSome() {
    std::vector<const system::Child*> processes;
    std::vector<Worker*> busy;
    for (Worker& worker : workers_) {
        if (worker.run.empty()) continue;
        processes.push_back(&worker.process);
        busy.push_back(&worker);
    }
    for (const std::size_t i : system::Child::waitForNews(processes)) hear(*busy[i]);
}

void Pool::hear(Worker& worker) {
    const bool lives = worker.process.channel().takeNews();
    while (!worker.run.empty()) {
        const Done* const done = records_.read(worker.run.first);
        if (done == nullptr) break;
        finish(worker, *done);
    }
    if (!lives) bury(worker);
}

/// The worker died of the file that it worked on.
void Pool::bury(Worker& worker) {
    const system::Child::End end = worker.process.join();
    if (worker.run.empty()) return;
    const InputFile& file = options_.files[worker.run.first];
    if (options_.command == CommandEN::convert)
        RemoveUnfinished(OutputFor(options_, file), end.number);
    const auto& [out, error] = *worker.printed;
    error.append(Format("%s: fatal: reading it ended with signal %d (%s)\n",
                        Visible(file.path).c_str(), end.signal, end.reason.c_str()));
    if (options_.json && options_.command != CommandEN::list)
        out.append(BrokenSummaryJson(file.path));
    finish(worker, {ExitNothing, out.size(), error.size(), out.size()});
}

void Pool::finish(Worker& worker, const Done& done) {
    finished_[worker.run.first++] = {worker.printed, worker.before, done};
    worker.before = done;
}

void Pool::stop(int error) {
    if (error == EPIPE) system::EndByClosedPipe();
    std::cerr << "lumo-import: cannot write the output: " + std::generic_category().message(error) +
                     "\n";
    totals_.stopped = true;
    for (const Worker& worker : workers_)
        if (worker.process.isRunning()) worker.process.stop();
}

/// Shows what was printed of the finished files whose turn has come.
void Pool::showFinished() {
    for (; !finished_.empty() && finished_.begin()->first == shown_; ++shown_) {
        const auto& [printed, from, to] = finished_.begin()->second;
        int error = printed->out.forward(from.told, to.out, system::StandardOutput);
        if (error == 0) {
            error = printed->error.forward(from.error, to.error, system::StandardError);
            if (error == EBADF) error = 0;  // nobody wants to hear it
        }
        if (error != 0) return stop(error);
        tell_(options_.files[shown_], to.exitCode, printed->out.take(to.out, to.told));
        ++totals_.files[to.exitCode];
        totals_.worst.add(to.worst);
        finished_.erase(finished_.begin());
    }
}

Totals Pool::run() {
    ProgressLine progress(IsTerminal(system::StandardError) && !options_.quiet);
    progress.start();
    while (shown_ < options_.files.size() && !totals_.stopped) {
        for (Worker& worker : workers_) giveWork(worker);
        waitForSome();
        progress.clear();
        showFinished();
        progress.update("files", static_cast<long long>(shown_ + finished_.size()),
                        std::ssize(options_.files));
    }
    for (Worker& worker : workers_)
        if (worker.process.isRunning()) worker.process.join();
    return totals_;
}

#endif

Totals RunSerially(const Options& options, FileWork work, const TellFunction& tell) {
    Totals totals;
    ProgressLine progress(IsTerminal(system::StandardError) && !options.quiet);
    progress.start();
    Console console(options);
    long long done = 0;
    for (const InputFile& file : options.files) {
        std::string told;
        const int exitCode = work(file, options, console, told);
        ++totals.files[exitCode];
        const int error = StandardOutputError() != 0 ? StandardOutputError() : StandardErrorError();
        if (error != 0) {
            if (error == EPIPE) system::EndByClosedPipe();
            totals.stopped = true;
            break;
        }
        tell(file, exitCode, told);
        progress.update("files", ++done, std::ssize(options.files));
    }
    totals.worst = console.worst();
    return totals;
}

}  // namespace

int Totals::exitCode() const {
    if (stopped) return ExitWriteFailed;
    return std::max<int>(ExitRead, files.rbegin()->first);
}

std::string Totals::text() const {
    constexpr std::pair<int, const char*> texts[] = {{ExitNoNet, "no nets"},
                                                     {ExitRead, "read"},
                                                     {ExitErrors, "read with errors"},
                                                     {ExitNothing, "not read"},
                                                     {ExitWriteFailed, "not written"}};
    std::string text;
    long long all = 0;
    for (const auto& [code, count] : files) all += count;
    for (const auto& [code, words] : texts)
        if (const auto found = files.find(code); found != files.end()) {
            std::string_view which = words;
            if (code == ExitNoNet && found->second == 1) which.remove_suffix(1);
            (text += (text.empty() ? "" : ", ") + std::to_string(found->second) + " ") += which;
        }
    return std::to_string(all) + (all == 1 ? " file: " : " files: ") + text;
}

Totals RunBatch(const Options& options, FileWork work, const TellFunction& tell) {
#ifdef LUMO_HAS_PROCESSES
    Totals totals =
        options.jobs > 1 ? Pool(options, work, tell).run() : RunSerially(options, work, tell);
#else
    Totals totals = RunSerially(options, work, tell);
#endif
    if (options.noNets > 0) totals.files[ExitNoNet] += options.noNets;
    return totals;
}

}  // namespace lumo::app

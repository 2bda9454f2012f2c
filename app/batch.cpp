#include "app/batch.h"

#ifdef __linux__
#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <map>
#include <memory>
#include <new>
#include <system_error>
#include <utility>
#include <vector>

#include "app/convert.h"
#include "app/summary.h"
#include "app/terminal.h"
#include "export/output.h"
#include "library/utilities/paths.h"
#include "library/utilities/system.h"
#include "library/utilities/text.h"

namespace lumo::app {
namespace {

namespace fs = std::filesystem;

#ifdef __linux__  // elsewhere one file is read after the other

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
    off_t out = 0, error = 0;
    off_t told = 0;          ///< which follows what is printed on standard output
    WorstReport worst = {};  ///< of all files of the worker
};

/// What the workers tell of every file, in memory that they share with the batch.
class Records {
public:
    explicit Records(std::size_t files)
        : size_(files * sizeof(Record)),
          records_(static_cast<Record*>(
              ::mmap(nullptr, size_, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0))) {
        if (records_ == MAP_FAILED) throw std::bad_alloc();
    }
    ~Records() { ::munmap(records_, size_); }
    Records(const Records&) = delete;
    Records& operator=(const Records&) = delete;

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
    std::size_t size_;
    Record* records_;
};

/// The two streams of a worker, files in memory.
struct Printed {
    const int out = ::memfd_create("out", MFD_CLOEXEC);
    const int error = ::memfd_create("error", MFD_CLOEXEC);

    Printed() = default;
    Printed(const Printed&) = delete;
    Printed& operator=(const Printed&) = delete;
    ~Printed() {
        for (const int descriptor : {out, error})
            if (descriptor >= 0) ::close(descriptor);
    }
};

/// A finished file: what was printed of it stands between the two marks.
struct Result {
    std::shared_ptr<const Printed> printed;
    Done from, to;
};

/// A process that works on runs of files.
struct Worker {
    pid_t process = -1;  ///< -1 when there is none
    int channel = -1;    ///< sends runs, receives a byte when there are new records
    Run run;             ///< what it has to do still
    std::shared_ptr<const Printed> printed;
    Done before;  ///< where what is printed of the present file begins
};

void GiveBack(int file, off_t from, off_t to) {
    if (from < to) ::fallocate(file, FALLOC_FL_PUNCH_HOLE | FALLOC_FL_KEEP_SIZE, from, to - from);
}

/// That part of the file, whose memory is given back.
std::string ReadBack(int file, off_t from, off_t to) {
    std::string text(static_cast<std::size_t>(to - from), '\0');
    std::size_t have = 0;
    while (have < text.size()) {
        const ssize_t got =
            ::pread(file, text.data() + have, text.size() - have, from + static_cast<off_t>(have));
        if (got <= 0) break;
        have += static_cast<std::size_t>(got);
    }
    text.resize(have);
    GiveBack(file, from, to);
    return text;
}

/// Copies that part of the file, and gives its memory back. Returns 0, or the error.
int Forward(int file, off_t from, off_t to, int target) {
    int error = 0;
    char buffer[16 * 1024];
    const off_t begin = from;
    while (from < to && error == 0) {
        const auto size = std::min<std::size_t>(sizeof buffer, static_cast<std::size_t>(to - from));
        const ssize_t got = ::pread(file, buffer, size, from);
        if (got <= 0) return got < 0 ? errno : EIO;
        from += got;
        for (ssize_t put = 0; put < got && error == 0;) {
            const ssize_t n = ::write(target, buffer + put, static_cast<std::size_t>(got - put));
            if (n < 0 && errno != EINTR) error = errno;
            put += std::max<ssize_t>(n, 0);
        }
    }
    GiveBack(file, begin, to);
    return error;
}

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
    [[noreturn]] void runWorker(const Worker& worker, int channel);
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
    const pid_t batch_ = ::getpid();
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
    if (again && worker.process > 0) return;
    if (!again) {
        const std::size_t end = std::min(options_.files.size(), shown_ + maxAhead);
        if (next_ >= end) return;
        const std::size_t share = (options_.files.size() - next_) / (runsEach * workers_.size());
        worker.run = {next_, std::min(end, next_ + std::clamp<std::size_t>(share, 1, longestRun))};
        next_ = worker.run.last;
    }
    if (worker.process < 0 && !start(worker)) {
        std::cerr << "lumo-import: cannot start a process\n";
        while (!worker.run.empty()) finish(worker, {});
        return;
    }
    // A worker that is dead already is found when it is waited for.
    ::send(worker.channel, &worker.run, sizeof worker.run, MSG_NOSIGNAL);
}

bool Pool::start(Worker& worker) {
    int channels[2] = {-1, -1};
    auto printed = std::make_shared<const Printed>();
    worker.printed = printed;
    worker.before = {};
    if (printed->out < 0 || printed->error < 0 ||
        ::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, channels) != 0)
        return false;
    std::cout.flush();
    worker.process = ::fork();
    if (worker.process == 0) {
        ::close(channels[0]);  // else it would never see the batch's end
        runWorker(worker, channels[1]);
    }
    ::close(channels[1]);
    worker.channel = channels[0];
    if (worker.process > 0) return true;
    ::close(worker.channel);
    return false;
}

void Pool::runWorker(const Worker& worker, int channel) {
    // Ends with the batch, whatever ends that.
    ::prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (::getppid() != batch_) ::_exit(ExitNothing);
    for (const Worker& other : workers_)
        if (&other != &worker && other.process > 0) ::close(other.channel);
    Console console(options_, false);  // looks at the real standard error
    ::dup2(worker.printed->out, STDOUT_FILENO);
    ::dup2(worker.printed->error, STDERR_FILENO);
    Run run;
    while (::recv(channel, &run, sizeof run, 0) == sizeof run) {
        auto told = std::chrono::steady_clock::now();
        while (!run.empty()) {
            records_.write(run.first, workOn(options_.files[run.first], console));
            ++run.first;
            const auto now = std::chrono::steady_clock::now();
            if (!run.empty() && now - told < longestSilence) continue;
            told = now;
            if (::send(channel, "", 1, MSG_NOSIGNAL) < 0) ::_exit(ExitNothing);
        }
    }
    ::_exit(ExitRead);
}

Done Pool::workOn(const InputFile& file, Console& console) const {
    Done done;
    std::string told;
    done.exitCode = work_(file, options_, console, told);
    std::cout.flush();
    std::cerr.flush();
    done.out = ::lseek(STDOUT_FILENO, 0, SEEK_CUR);
    WriteStandardOutput(told);
    done.told = ::lseek(STDOUT_FILENO, 0, SEEK_CUR);
    done.error = ::lseek(STDERR_FILENO, 0, SEEK_CUR);
    done.worst = console.worst();
    return done;
}

void Pool::waitForSome() {
    std::vector<pollfd> channels;
    std::vector<Worker*> busy;
    for (Worker& worker : workers_) {
        if (worker.run.empty()) continue;
        channels.push_back({worker.channel, POLLIN, 0});
        busy.push_back(&worker);
    }
    if (busy.empty() || ::poll(channels.data(), channels.size(), -1) <= 0) return;
    for (std::size_t i = 0; i < busy.size(); ++i)
        if (channels[i].revents != 0) hear(*busy[i]);
}

void Pool::hear(Worker& worker) {
    char byte = 0;
    const ssize_t got = ::recv(worker.channel, &byte, 1, MSG_DONTWAIT);
    while (!worker.run.empty()) {
        const Done* const done = records_.read(worker.run.first);
        if (done == nullptr) break;
        finish(worker, *done);
    }
    if (got == 0 || (got < 0 && errno != EAGAIN && errno != EINTR)) bury(worker);
}

/// Removes what a process that is no more has left beside an output.
void RemoveUnfinished(pid_t process, const std::string& output) {
    const std::string start = UnfinishedPrefix(process);
    std::error_code failed;
    const fs::path folder = fs::weakly_canonical(PathOf(output), failed).parent_path();
    for (fs::directory_iterator at(folder, failed), end; !failed && at != end; at.increment(failed))
        if (Utf8(at->path().filename()).starts_with(start))
            system::Remove(Utf8(at->path()).c_str());
}

/// The worker died of the file that it worked on.
void Pool::bury(Worker& worker) {
    int status = 0;
    ::waitpid(worker.process, &status, 0);
    ::close(worker.channel);
    const pid_t process = std::exchange(worker.process, -1);
    if (worker.run.empty()) return;
    if (options_.command == CommandEN::convert)
        RemoveUnfinished(process, OutputFor(options_, options_.files[worker.run.first]));
    const int signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    ::dprintf(worker.printed->error, "%s: fatal: reading it ended with signal %d (%s)\n",
              Visible(options_.files[worker.run.first].path).c_str(), signal, strsignal(signal));
    if (options_.json) {
        const std::string line = BrokenSummaryJson(options_.files[worker.run.first].path);
        ::dprintf(worker.printed->out, "%s", line.c_str());
    }
    const off_t end = ::lseek(worker.printed->out, 0, SEEK_END);
    finish(worker, {ExitNothing, end, ::lseek(worker.printed->error, 0, SEEK_END), end});
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
        if (worker.process > 0) ::kill(worker.process, SIGTERM);
}

/// Shows what was printed of the finished files whose turn has come.
void Pool::showFinished() {
    for (; !finished_.empty() && finished_.begin()->first == shown_; ++shown_) {
        const auto& [printed, from, to] = finished_.begin()->second;
        int error = Forward(printed->out, from.told, to.out, STDOUT_FILENO);
        if (error == 0) {
            error = Forward(printed->error, from.error, to.error, STDERR_FILENO);
            if (error == EBADF) error = 0;  // nobody wants to hear it
        }
        if (error != 0) return stop(error);
        tell_(options_.files[shown_], to.exitCode, ReadBack(printed->out, to.out, to.told));
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
    for (const Worker& worker : workers_) {
        if (worker.process < 0) continue;
        ::close(worker.channel);
        ::waitpid(worker.process, nullptr, 0);
    }
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
        if (const int error = StandardOutputError()) {
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
        if (const auto found = files.find(code); found != files.end())
            text += (text.empty() ? "" : ", ") + std::to_string(found->second) + " " + words;
    return std::to_string(all) + (all == 1 ? " file: " : " files: ") + text;
}

Totals RunBatch(const Options& options, FileWork work, const TellFunction& tell) {
#ifdef __linux__
    Totals totals =
        options.jobs > 1 ? Pool(options, work, tell).run() : RunSerially(options, work, tell);
#else
    Totals totals = RunSerially(options, work, tell);
#endif
    if (options.noNets > 0) totals.files[ExitNoNet] += options.noNets;
    return totals;
}

}  // namespace lumo::app

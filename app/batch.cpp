#include "app/batch.h"

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <map>

#include "app/convert.h"
#include "export/text.h"

namespace lumo::app {
namespace {

/// Finished files whose turn to be shown has not come hold descriptors, so there is a limit to
/// them.
constexpr std::size_t maxAhead = 100;

/// How many files ended with each exit code.
using Totals = std::map<int, int>;

/// A process that works on one file; what it prints is kept until the file's turn comes.
struct Worker {
    pid_t process = -1;
    int out = -1;
    int error = -1;
    bool running = true;
    int exitCode = ExitNothing;
};

/// Copies everything that was written to the descriptor, and closes it.
void Forward(int from, int to) {
    char buffer[16 * 1024];
    off_t at = 0;
    ssize_t got = 0;
    while ((got = ::pread(from, buffer, sizeof buffer, at)) > 0) {
        at += got;
        for (ssize_t put = 0; put < got;) {
            const ssize_t n = ::write(to, buffer + put, static_cast<std::size_t>(got - put));
            if (n < 0 && errno != EINTR) break;
            put += std::max<ssize_t>(n, 0);
        }
    }
    ::close(from);
}

/// The processes of one batch.
class Pool {
public:
    Pool(const Options& options, FileWork work) : options_(options), work_(work) {}

    Totals run();

private:
    bool mayStart() const;
    void start();
    void waitForOne();
    void showFinished();
    [[noreturn]] void runWorker(const std::string& file, const Worker& worker) const;

    const Options& options_;
    const FileWork work_;
    std::map<std::size_t, Worker> workers_;  ///< started, not shown yet, by place in the list
    std::size_t next_ = 0;                   ///< the next file to start
    int running_ = 0;
    Totals totals_;
};

bool Pool::mayStart() const {
    return next_ < options_.files.size() && running_ < options_.jobs && workers_.size() < maxAhead;
}

void Pool::start() {
    Worker& worker = workers_[next_];
    const std::string& file = options_.files[next_++];
    worker.out = ::memfd_create("out", MFD_CLOEXEC);
    worker.error = ::memfd_create("error", MFD_CLOEXEC);
    std::cout.flush();
    worker.process = worker.out < 0 || worker.error < 0 ? -1 : ::fork();
    if (worker.process == 0) runWorker(file, worker);
    worker.running = worker.process > 0;
    running_ += worker.running ? 1 : 0;
}

void Pool::runWorker(const std::string& file, const Worker& worker) const {
    Console console(options_, false);  // looks at the real standard error
    ::dup2(worker.out, STDOUT_FILENO);
    ::dup2(worker.error, STDERR_FILENO);
    const int code = work_(file, options_, console);
    std::cout.flush();
    std::cerr.flush();
    ::_exit(code);
}

void Pool::waitForOne() {
    int status = 0;
    const pid_t process = ::waitpid(-1, &status, 0);
    if (process < 0) return;
    for (auto& [place, worker] : workers_) {
        if (worker.process != process) continue;
        worker.running = false;
        --running_;
        if (WIFEXITED(status)) {
            worker.exitCode = WEXITSTATUS(status);
        } else {
            ::dprintf(worker.error, "%s: fatal: reading it ended with signal %d (%s)\n",
                      Visible(options_.files[place]).c_str(), WTERMSIG(status),
                      strsignal(WTERMSIG(status)));
        }
    }
}

/// Shows what the finished processes at the front of the list printed.
void Pool::showFinished() {
    while (!workers_.empty() && !workers_.begin()->second.running) {
        const auto& [place, worker] = *workers_.begin();
        if (worker.process < 0) std::cerr << "lumo-import: cannot start a process\n";
        Forward(worker.out, STDOUT_FILENO);
        Forward(worker.error, STDERR_FILENO);
        ++totals_[worker.exitCode];
        workers_.erase(workers_.begin());
    }
}

Totals Pool::run() {
    ProgressLine progress(IsTerminal(STDERR_FILENO) && !options_.quiet);
    progress.start();
    while (next_ < options_.files.size() || !workers_.empty()) {
        while (mayStart()) start();
        if (running_ > 0) waitForOne();
        progress.clear();
        showFinished();
        const auto done = static_cast<long long>(next_ - workers_.size());
        progress.update("files", done, std::ssize(options_.files));
    }
    return totals_;
}

Totals RunSerially(const Options& options, FileWork work) {
    Totals totals;
    ProgressLine progress(IsTerminal(STDERR_FILENO) && !options.quiet);
    progress.start();
    Console console(options);
    long long done = 0;
    for (const std::string& file : options.files) {
        ++totals[work(file, options, console)];
        progress.update("files", ++done, std::ssize(options.files));
    }
    return totals;
}

std::string Text(const Totals& totals, std::size_t files) {
    constexpr std::pair<int, const char*> texts[] = {{ExitRead, "read"},
                                                     {ExitErrors, "read with errors"},
                                                     {ExitNothing, "not read"},
                                                     {ExitWriteFailed, "not written"}};
    std::string text;
    for (const auto& [code, words] : texts)
        if (const auto found = totals.find(code); found != totals.end())
            text += (text.empty() ? "" : ", ") + std::to_string(found->second) + " " + words;
    return std::to_string(files) + " files: " + text + "\n";
}

}  // namespace

int RunBatch(const Options& options, FileWork work) {
    const Totals totals = options.jobs > 1 ? Pool(options, work).run() : RunSerially(options, work);
    const std::string text = Text(totals, options.files.size());
    const int worst = totals.rbegin()->first;
    if (options.command == CommandEN::summary) {
        if (!WriteStandardOutput(text).empty()) return ExitWriteFailed;
    } else if (options.command == CommandEN::convert && !options.quiet &&
               !options.jsonDiagnostics) {
        std::cerr << text;
    }
    return worst;
}

}  // namespace lumo::app

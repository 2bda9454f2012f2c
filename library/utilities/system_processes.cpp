#include "library/utilities/system_processes.h"

#ifdef LUMO_HAS_PROCESSES

#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <new>
#include <utility>

namespace lumo::system {

// ---- Memory --------------------------------------------------------------------------------

SharedMemory::SharedMemory(std::size_t bytes)
    : bytes_(bytes),
      data_(::mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0)) {
    if (data_ == MAP_FAILED) throw std::bad_alloc();
}

SharedMemory::~SharedMemory() { ::munmap(data_, bytes_); }

MemoryFile::MemoryFile() : descriptor_(::memfd_create("lumo", MFD_CLOEXEC)) {}

MemoryFile::~MemoryFile() {
    if (isOpen()) ::close(descriptor_);
}

void MemoryFile::replace(int descriptor) const { ::dup2(descriptor_, descriptor); }

namespace {

/// Returns 0, or the error.
int WriteAll(int descriptor, const char* text, std::size_t bytes) {
    while (bytes > 0) {
        const ssize_t n = ::write(descriptor, text, bytes);
        if (n < 0 && errno != EINTR) return errno;
        text += std::max<ssize_t>(n, 0);
        bytes -= static_cast<std::size_t>(std::max<ssize_t>(n, 0));
    }
    return 0;
}

void GiveBack(int file, off_t from, off_t to) {
    if (from < to) ::fallocate(file, FALLOC_FL_PUNCH_HOLE | FALLOC_FL_KEEP_SIZE, from, to - from);
}

}  // namespace

void MemoryFile::append(const std::string& text) const {
    ::lseek(descriptor_, 0, SEEK_END);
    WriteAll(descriptor_, text.data(), text.size());
}

long long MemoryFile::size() const { return ::lseek(descriptor_, 0, SEEK_END); }

std::string MemoryFile::take(long long from, long long to) const {
    std::string text(static_cast<std::size_t>(to - from), '\0');
    std::size_t have = 0;
    while (have < text.size()) {
        const ssize_t got = ::pread(descriptor_, text.data() + have, text.size() - have,
                                    from + static_cast<off_t>(have));
        if (got <= 0) break;
        have += static_cast<std::size_t>(got);
    }
    text.resize(have);
    GiveBack(descriptor_, from, to);
    return text;
}

int MemoryFile::forward(long long from, long long to, int descriptor) const {
    char buffer[16 * 1024];
    int error = 0;
    for (off_t at = from; at < to && error == 0;) {
        const auto size = std::min<std::size_t>(sizeof buffer, static_cast<std::size_t>(to - at));
        const ssize_t got = ::pread(descriptor_, buffer, size, at);
        if (got <= 0) return got < 0 ? errno : EIO;
        error = WriteAll(descriptor, buffer, static_cast<std::size_t>(got));
        at += got;
    }
    GiveBack(descriptor_, from, to);
    return error;
}

long long Written(int descriptor) { return ::lseek(descriptor, 0, SEEK_CUR); }

// ---- Processes -----------------------------------------------------------------------------

bool Channel::send(const void* message, std::size_t bytes) const {
    return ::send(descriptor_, message, bytes, MSG_NOSIGNAL) >= 0;
}

bool Channel::receive(void* message, std::size_t bytes) const {
    return ::recv(descriptor_, message, bytes, 0) == static_cast<ssize_t>(bytes);
}

bool Channel::takeNews() const {
    char byte = 0;
    const ssize_t got = ::recv(descriptor_, &byte, 1, MSG_DONTWAIT);
    return got > 0 || (got < 0 && (errno == EAGAIN || errno == EINTR));
}

bool Child::start(const std::function<void(const Channel&)>& work) {
    int ends[2] = {-1, -1};
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) return false;
    const pid_t parent = ::getpid();
    number_ = ::fork();
    if (number_ == 0) {
        ::close(ends[0]);  // else it would never see the parent's end
        ::prctl(PR_SET_PDEATHSIG, SIGTERM);
        // What it throws would go on as the parent does; so it ends by a signal, and is told.
        [&]() noexcept {
            if (::getppid() == parent) work(Channel(ends[1]));
        }();
        ::_exit(0);
    }
    ::close(ends[1]);
    channel_.descriptor_ = ends[0];
    if (number_ < 0) close();
    return isRunning();
}

void Child::close() {
    if (channel_.descriptor_ >= 0) ::close(std::exchange(channel_.descriptor_, -1));
}

void Child::stop() const { ::kill(number_, SIGTERM); }

Child::End Child::join() {
    int status = 0;
    close();
    while (::waitpid(number_, &status, 0) < 0 && errno == EINTR) {
    }
    End end;
    end.number = std::exchange(number_, -1);
    end.signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    end.reason = ::strsignal(end.signal);
    return end;
}

std::vector<std::size_t> Child::waitForNews(std::span<const Child* const> children) {
    std::vector<pollfd> channels;
    for (const Child* child : children)
        channels.push_back({child->channel_.descriptor_, POLLIN, 0});
    std::vector<std::size_t> heard;
    if (channels.empty() || ::poll(channels.data(), channels.size(), -1) <= 0) return heard;
    for (std::size_t i = 0; i < channels.size(); ++i)
        if (channels[i].revents != 0) heard.push_back(i);
    return heard;
}

}  // namespace lumo::system

#endif

// Processes that work beside this one, where the system has what that takes: Linux.
#pragma once

#ifdef __linux__
#define LUMO_HAS_PROCESSES 1

#include <cstddef>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "library/utilities/language.h"

namespace LUMO_API lumo {
namespace system {

/// Memory that a process shares with those that it starts, zeros at first.
class SharedMemory {
public:
    /// Throws std::bad_alloc.
    explicit SharedMemory(std::size_t bytes);
    ~SharedMemory();
    SharedMemory(const SharedMemory&) = delete;
    SharedMemory& operator=(const SharedMemory&) = delete;

    void* data() const { return data_; }

private:
    std::size_t bytes_;
    void* data_;
};

/// A file without a name, in memory, which a process shares with those that it starts.
class MemoryFile {
public:
    MemoryFile();
    ~MemoryFile();
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    bool isOpen() const { return descriptor_ >= 0; }

    /// What is written to that descriptor goes into the file from now on.
    void replace(int descriptor) const;

    void append(const std::string& text) const;
    long long size() const;

    /// That part of the file, whose memory is given back.
    std::string take(long long from, long long to) const;

    /// Writes that part of the file to the descriptor, and gives its memory back. Returns 0, or the
    /// error.
    int forward(long long from, long long to, int descriptor) const;

private:
    int descriptor_;
};

/// How much has been written to a descriptor of a file.
long long Written(int descriptor);

/// One end of what connects two processes. Messages arrive whole.
class Channel {
public:
    explicit Channel(int descriptor) : descriptor_(descriptor) {}

    /// False when nobody is at the other end.
    bool send(const void* message, std::size_t bytes) const;

    /// Waits for a message of that size; false when nobody is at the other end.
    bool receive(void* message, std::size_t bytes) const;

    /// Takes one message of a byte if there is one; false when nobody is at the other end.
    bool takeNews() const;

private:
    friend class Child;
    int descriptor_;
};

/// A process that this one has started.
class Child {
public:
    Child() = default;
    ~Child() { close(); }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    /// Starts a copy of this process, which does that work with its end of the channel and is over
    /// then. It ends with this process, whatever ends that. False when there can be no more.
    bool start(const std::function<void(const Channel&)>& work);

    bool isRunning() const { return number_ > 0; }
    const Channel& channel() const { return channel_; }

    /// For other children: leaves the channel alone, so that its end can be seen.
    void close();

    /// Asks it to end.
    void stop() const;

    /// How a process ended.
    struct End {
        int number = 0;      ///< of the process
        int signal = 0;      ///< that ended it
        std::string reason;  ///< what the signal means
    };
    /// Waits for its end, which closing the channel asks for.
    End join();

    /// Waits until some of them have a message, or are over. Returns their places.
    static std::vector<std::size_t> waitForNews(std::span<const Child* const> children);

private:
    int number_ = -1;
    Channel channel_{-1};
};

}  // namespace system
}  // namespace lumo

#endif

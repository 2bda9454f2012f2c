// Texts that grow while they are read.
#include "library/utilities/loading.h"

#include <algorithm>

#include "library/utilities/problems.h"
#include "library/utilities/system.h"

namespace lumo {

namespace {
constexpr long long FirstBlock = 64 * 1024;
constexpr long long TerminatorBytes = 2;  // ends 16-bit text too
}  // namespace

// One byte more than the size, so that the end is seen without growing.
GrowingText::GrowingText(const char* path, long long size, long long most)
    : path_(path), most_(std::max(most, 0LL)) {
    resize(std::min(std::max(size, 0LL), most_ - 1) + 1);
}

bool GrowingText::makeRoom() {
    if (length_ == most_) return false;
    if (length_ == size_)
        resize(std::min(most_, std::max(size_ > LLONG_MAX / 2 ? most_ : 2 * size_, FirstBlock)));
    return true;
}

void GrowingText::append(std::string_view bytes) {
    while (!bytes.empty() && makeRoom()) {
        const auto count = std::min(static_cast<std::size_t>(room()), bytes.size());
        std::copy_n(bytes.data(), count, end());
        extend(static_cast<long long>(count));
        bytes.remove_prefix(count);
    }
}

XArray<char> GrowingText::finish() {
    if (size_ > length_ + 1) resize(length_);
    std::fill_n(end(), TerminatorBytes, '\0');
    return std::move(text_);
}

void GrowingText::resize(long long size) {
    const long long bytes = size + TerminatorBytes;
    char* const old = text_.get();
    auto* const block =
        static_cast<char*>(old == nullptr ? xmallocf_kt(bytes) : xreallocf_kt(old, bytes));
    if (block == nullptr) TellProblem.noMemoryForFile(path_, size);
    static_cast<void>(text_.release());
    text_.reset(block);
    size_ = size;
}

bool ReadUpTo(const system::InputFile& file, GrowingText& text, long long bytes) {
    while (std::ssize(text.text()) < bytes && text.makeRoom()) {
        const long long got =
            file.read(text.end(), std::min(text.room(), bytes - std::ssize(text.text())));
        if (got <= 0) return got == 0;
        text.extend(got);
    }
    return true;
}

}  // namespace lumo

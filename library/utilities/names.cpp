// Legal names, and making many of them distinct.
#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "library/utilities/Utils.h"
#include "library/utilities/names.h"

namespace lumo {

namespace {

constexpr bool IsLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
constexpr bool IsDigit(char c) { return c >= '0' && c <= '9'; }

/// Of each byte, whether it is a letter, a digit or the underscore.
constexpr auto nameChars = [] {
    std::array<bool, 256> table{};
    for (unsigned c = 0; c < table.size(); ++c) {
        const char byte = static_cast<char>(c);
        table[c] = IsLetter(byte) || IsDigit(byte) || byte == '_';
    }
    return table;
}();
bool IsNameChar(char c) { return nameChars[static_cast<unsigned char>(c)]; }

/// The letter to begin a name with: the one asked for, when it is one.
char PrefixLetter(char prefix) { return IsLetter(prefix) ? prefix : 'N'; }

/// Writes the name over the old text, which has room for it.
char* Overwrite(char* old, const std::string& name) {
    std::memcpy(old, name.c_str(), name.size() + 1);
    return old;
}

}  // namespace

bool IsLegalName_kt(std::string_view name) {
    return !name.empty() && name.size() <= MaxNameLength && IsLetter(name.front()) &&
           std::ranges::all_of(name, IsNameChar);
}

std::string LegalName(std::string_view name, char prefix) {
    if (IsLegalName_kt(name)) return std::string(name);
    std::string legal;
    bool usable = false;
    bool inRun = false;
    for (const char c : name) {
        if (legal.size() >= MaxNameLength && usable) break;
        const bool keep = IsNameChar(c);
        if (keep || !inRun) legal += keep ? c : '_';
        usable |= keep;
        inRun = !keep;
    }
    if (!usable) return {PrefixLetter(prefix)};
    if (!IsLetter(legal.front())) legal.insert(legal.begin(), PrefixLetter(prefix));
    if (legal.size() > MaxNameLength) legal.resize(MaxNameLength);
    return legal;
}

char* ToLegalName1_kt(char* name, char prefix) {
    if (name == nullptr || IsLegalName_kt(name)) return name;
    return Overwrite(name, LegalName(name, prefix));
}

char* ToLegalName_kt(char* name) { return ToLegalName1_kt(name, 'N'); }

strin_kt& ToLegalName_kt(strin_kt& name) {
    if (IsLegalName_kt(name.view())) return name;
    const std::string legal = LegalName(name.view());
    name.clear();
    name.append(legal);
    return name;
}

// ---- Unique names --------------------------------------------------------------------------

namespace {

struct TextHash {
    using is_transparent = void;
    std::size_t operator()(std::string_view s) const { return std::hash<std::string_view>()(s); }
};

/// A set of names: few are compared one by one, more are hashed. Most sets hold the two or three
/// states of a node, for which hashing takes ten times as long.
class NameSet {
public:
    bool contains(std::string_view name) const {
        return many_ == nullptr ? std::ranges::find(few_, name) != few_.end()
                                : many_->contains(name);
    }

    void add(std::string_view name) {
        if (many_ == nullptr && few_.size() == mostFew) {
            many_ = std::make_unique<Hashed>(few_.begin(), few_.end());
            few_.clear();
        }
        if (many_ != nullptr) {
            many_->emplace(name);
        } else if (!contains(name)) {
            few_.emplace_back(name);
        }
    }

    void remove(std::string_view name) {
        if (many_ == nullptr) {
            std::erase(few_, name);
        } else if (const auto found = many_->find(name); found != many_->end()) {
            many_->erase(found);
        }
    }

private:
    using Hashed = std::unordered_set<std::string, TextHash, std::equal_to<>>;
    static constexpr std::size_t mostFew = 8;
    std::vector<std::string> few_;
    std::unique_ptr<Hashed> many_;  // null: few are enough
};

constexpr std::size_t MaxShortName = 4;  // 13 million of them

/// What a number is appended to: the name cut to `room` characters, with an underscore after a last
/// digit, so that the number stays apart.
std::string Stem(std::string_view name, std::size_t room) {
    std::string stem(name.substr(0, room));
    if (!IsDigit(stem.back())) return stem;
    stem.resize(std::min(stem.size(), room - 1));
    return stem += '_';
}

}  // namespace

struct UniqueNames_kt::Impl {
    /// What is to be tried next, so that n equal names, cut or not, cost n steps.
    struct Next {
        /// The number for each stem and number of digits: never one that was found taken.
        std::unordered_map<std::string, int> number[10];
        std::size_t shortName[MaxShortName + 1] = {};  ///< by length
    };

    NameSet taken;
    std::unique_ptr<Next> next;  ///< null while every name was free

    std::string numbered(std::string_view base, std::size_t maxLength, char prefix);
    std::string shortName(char prefix, std::size_t length);
};

/// The first free name of so many characters, counted through letters, digits and the underscore:
/// for when no number has room behind the base. Empty when all are taken.
std::string UniqueNames_kt::Impl::shortName(char prefix, std::size_t length) {
    constexpr std::string_view characters =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_";
    constexpr std::size_t letters = 52;
    std::string name(length, PrefixLetter(prefix));
    for (std::size_t& number = next->shortName[length];; ++number) {
        std::size_t rest = number;
        for (std::size_t i = length; i-- > 1; rest /= characters.size())
            name[i] = characters[rest % characters.size()];
        if (rest > letters) return {};
        if (rest > 0) name[0] = characters[rest - 1];
        if (!taken.contains(name)) return name;
    }
}

/// The base with the first free number, or a short name where none has room; empty when every name
/// that fits is taken.
std::string UniqueNames_kt::Impl::numbered(std::string_view base, std::size_t maxLength,
                                           char prefix) {
    if (next == nullptr) next = std::make_unique<Next>();
    long long limit = 10;  // the first number with more digits
    for (std::size_t digits = 1; digits <= 9 && digits < maxLength; ++digits, limit *= 10) {
        const std::string stem = Stem(base, maxLength - digits);
        int& number =
            next->number[digits].try_emplace(stem, digits == 1 ? 2 : limit / 10).first->second;
        for (; number < limit; ++number) {
            std::string candidate = stem + std::to_string(number);
            if (!taken.contains(candidate)) return candidate;
        }
    }
    return shortName(prefix, std::min(maxLength, MaxShortName));
}

UniqueNames_kt::UniqueNames_kt() : impl_(std::make_unique<Impl>()) {}
UniqueNames_kt::~UniqueNames_kt() = default;

bool UniqueNames_kt::contains(std::string_view name) const { return impl_->taken.contains(name); }
void UniqueNames_kt::add(std::string_view name) { impl_->taken.add(name); }
void UniqueNames_kt::remove(std::string_view name) { impl_->taken.remove(name); }

std::string UniqueNames_kt::unique(std::string_view name, char prefix, int maxLength) {
    const auto most = static_cast<std::size_t>(std::clamp(maxLength, 1, MaxNameLength));
    std::string base = LegalName(name, prefix);
    base.resize(std::min(base.size(), most));
    return contains(base) ? impl_->numbered(base, most, prefix) : base;
}

char* ToLegalUniqueName_kt(char* name, const char* const* existing, int count, char prefix,
                           int size) {
    if (name == nullptr) return name;
    if (size == 0) size = static_cast<int>(std::strlen(name)) + 2;
    UniqueNames_kt taken;
    for (int i = 0; existing != nullptr && i < count; ++i) {
        if (existing[i] != nullptr) taken.add(existing[i]);
    }
    return ToLegalUniqueName_kt(name, taken, prefix, size);
}

char* ToLegalUniqueName_kt(char* name, UniqueNames_kt& existing, char prefix, int size) {
    if (name == nullptr || size < 2) return nullptr;
    const std::string unique = existing.unique(name, prefix, size - 1);
    if (unique.empty()) return nullptr;
    existing.add(unique);
    return Overwrite(name, unique);
}

char** MakeLegalUniqueNames_kt(const char* const* names, int count, char prefix) {
    const int n = names == nullptr ? 0 : std::max(count, 0);
    OwnedStrs made(
        new char* [static_cast<std::size_t>(n)] {}, n);
    UniqueNames_kt taken;
    for (int i = 0; i < n; ++i) {
        const std::string unique = taken.unique(names[i] == nullptr ? "" : names[i], prefix);
        taken.add(unique);
        made.get()[i] = DupStr_kt(unique);
    }
    return made.release();
}

}  // namespace lumo

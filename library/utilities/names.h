// Making many names legal and distinct.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "library/utilities/Utils.h"

namespace LUMO_API lumo {

/// The names taken so far in one scope (hashed), for making many names distinct in linear time.
class UniqueNames_kt {
public:
    UniqueNames_kt();
    ~UniqueNames_kt();
    UniqueNames_kt(const UniqueNames_kt&) = delete;
    UniqueNames_kt& operator=(const UniqueNames_kt&) = delete;

    bool contains(std::string_view name) const;  ///< whether it is taken
    void add(std::string_view name);             ///< takes a name; one that is taken is nothing new
    void remove(std::string_view name);          ///< frees a name; one that is free is nothing

    /// A legal name made from `name` that is not taken: the legal form itself, or that with a
    /// number appended (its tail cut so that the result has at most maxLength characters); where no
    /// number has room, a short name beginning with the prefix if one is free. Empty when every
    /// name that fits is taken. Does not add it.
    std::string unique(std::string_view name, char prefix, int maxLength = MaxNameLength);

private:
    struct LUMO_HIDDEN Impl;
    std::unique_ptr<Impl> impl_;
};

/// ToLegalUniqueName_kt (Utils.h) against a set of names, to which the result is added: linear over
/// many names.
char* ToLegalUniqueName_kt(char* name, UniqueNames_kt& existing, char prefix, int size);

}  // namespace lumo

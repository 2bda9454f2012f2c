// What the parts of the R package share. R calls in through the functions at the end, which take
// and give what the R side beside them (../R) checks and completes.
//
// No error or interrupt of R jumps over a C++ frame: every call into R that may jump goes through
// cpp11, which makes it an exception.
#pragma once

#include <cpp11.hpp>
#include <cpp11/declarations.hpp>

#include <lumo/netmodel.h>
#include <lumo/result.h>

#include <string>
#include <string_view>
#include <vector>

namespace lumo::r {

/// A named list in the making.
class Record {
public:
    void add(const char* name, SEXP value) {
        names_.push_back(name);
        values_.emplace_back(value);
    }
    cpp11::sexp list() const;

private:
    std::vector<const char*> names_;
    std::vector<cpp11::sexp> values_;
};

/// The text, marked as the UTF-8 that it becomes.
cpp11::r_string Text(std::string_view text);
cpp11::sexp TextOrNull(const char* text);

/// The combinations of parent states in the order of R's arrays, the first parent's state fastest:
/// row() is the row of the model's table, where the last parent's is.
class RowWalk {
public:
    explicit RowWalk(const BndList_bn& parents);
    int row() const { return row_; }
    void advance();

private:
    struct Digit {
        int count, stride, state;
    };
    std::vector<Digit> digits_;
    int row_ = 0;
};

/// The numbers that people wrote for a row of floats: the fewest digits that read back to each, but
/// for what makes the sum 1 where it is 1 but for the rounding of floats.
void Decimals(const float* row, int cells, bool probabilities, double* out);

/// The net as a list: all that the model holds of it.
cpp11::sexp ToR(const ImportResult& result);

/// The net of a list that the R side has checked. Throws std::runtime_error for what the model
/// refuses.
ImportResult FromR(const cpp11::list& net);

}  // namespace lumo::r

extern "C" {
SEXP lumo_read(SEXP path, SEXP options);
SEXP lumo_write(SEXP net, SEXP path, SEXP format, SEXP source, SEXP plain, SEXP onlyNature,
                SEXP force);
SEXP lumo_positions(SEXP net);
SEXP lumo_explain(SEXP number);
SEXP lumo_formats();
}

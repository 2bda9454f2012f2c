// Reading a file.
#include <lumo/explain.h>
#include <lumo/import.h>

#include <exception>

#include "lumo_r.h"

namespace lumo::r {
namespace {

/// Ends an import when the user interrupts. What the interrupt runs in R may read files itself.
class InterruptWatcher : public ImportWatcher {
public:
    void progress(long long, long long) override {
        if (interrupt_ != nullptr) return;
        try {
            cpp11::check_user_interrupt();
        } catch (...) {
            interrupt_ = std::current_exception();
        }
    }
    bool cancelled() override { return interrupt_ != nullptr; }
    /// Hands the interrupt on to R, now that nothing of the import is left.
    void passInterrupt() const {
        if (interrupt_ != nullptr) std::rethrow_exception(interrupt_);
    }

private:
    std::exception_ptr interrupt_;
};

cpp11::sexp Lines(const std::vector<std::string>& texts) {
    cpp11::writable::strings lines(static_cast<R_xlen_t>(texts.size()));
    R_xlen_t i = 0;
    for (const std::string& text : texts) lines[i++] = Text(text);
    return lines;
}

cpp11::sexp Skipped(const std::vector<SkippedWord>& skipped) {
    cpp11::writable::strings words(static_cast<R_xlen_t>(skipped.size()));
    cpp11::writable::doubles counts(static_cast<R_xlen_t>(skipped.size()));
    R_xlen_t i = 0;
    for (const SkippedWord& word : skipped) {
        words[i] = Text(word.word);
        counts[i++] = static_cast<double>(word.count);
    }
    Record record;
    record.add("word", words);
    record.add("count", counts);
    return record.list();
}

cpp11::sexp Read(const std::string& path, const cpp11::list& how) {
    const auto flag = [&](const char* name) { return cpp11::as_cpp<bool>(how[name]); };
    const auto text = [&](const char* name) { return cpp11::as_cpp<std::string>(how[name]); };
    InterruptWatcher watcher;
    ImportOptions options;
    options.format = FindFormat(std::string_view(text("format")));
    options.condense = flag("condense");
    options.strict = flag("strict");
    options.normalize = flag("normalize");
    options.createStateNames = flag("create_state_names");
    options.className = text("class_name");
    options.mostMemory = static_cast<long long>(cpp11::as_cpp<double>(how["max_memory"]));
    options.formatOption = "`format`";
    options.watcher = &watcher;
    const ImportResult result = Import(FromFile(path), options);
    watcher.passInterrupt();
    Record record;
    record.add("net", ToR(result));
    record.add("notes", Lines(result.notes));
    record.add("skipped", Skipped(result.skipped));
    record.add("unopened", cpp11::as_sexp(result.error != 0));
    return record.list();
}

}  // namespace
}  // namespace lumo::r

SEXP lumo_read(SEXP path, SEXP options) {
    BEGIN_CPP11
    return lumo::r::Read(CHAR(STRING_ELT(path, 0)), cpp11::list(options));
    END_CPP11
}

SEXP lumo_explain(SEXP number) {
    BEGIN_CPP11
    const std::string text = lumo::Explain(cpp11::as_cpp<int>(number));
    return lumo::r::TextOrNull(text.c_str());
    END_CPP11
}

// Reading a file.
#include <lumo/ForeignFile.h>
#include <lumo/detect.h>
#include <lumo/explain.h>

#include <exception>
#include <filesystem>
#include <fstream>

#include "lumo_r.h"

namespace lumo::r {
namespace {

/// Keeps the reports of one import, and ends it when the user interrupts.
class Collector : public ReportHandler {
public:
    Collector(ImportResult& result, bool condense) : result_(result), condense_(condense) {}

    void show(const rept_kt& report) override { result_.reports.emplace_back(report); }
    void print(const char* text) override { notes.emplace_back(text); }
    bool ask(int, const char*) override { return condense_; }
    void waitBegin(const char*) override {}
    void waitEnd(const char*) override {}
    void progress(long long, long long) override {
        if (interrupt_ != nullptr) return;
        try {
            cpp11::check_user_interrupt();
        } catch (...) {
            interrupt_ = std::current_exception();
        }
    }
    bool cancelled() override { return interrupt_ != nullptr; }
    void unknownWord(const char* word, int, long long count) override {
        result_.skipped.push_back({word, count});
    }
    /// Hands the interrupt on to R, now that nothing of the import is left.
    void passInterrupt() const {
        if (interrupt_ != nullptr) std::rethrow_exception(interrupt_);
    }

    std::vector<std::string> notes;

private:
    ImportResult& result_;
    bool condense_;
    std::exception_ptr interrupt_;
};

/// What an interrupt runs in R cannot read while a file is read: it would wait for itself.
class OnlyRead {
public:
    OnlyRead() {
        if (std::exchange(reading_, true))
            throw std::runtime_error("a file is being read: an interrupt's handler cannot read");
    }
    ~OnlyRead() { reading_ = false; }
    OnlyRead(const OnlyRead&) = delete;
    OnlyRead& operator=(const OnlyRead&) = delete;

private:
    inline static bool reading_ = false;
};

/// The reader asks once a process whether to condense; here each call says what it wants.
void CondenseNoisyMax(Bnet_bn& net, bool condense) {
    for (Bnode_bn* node : net.nodes) {
        const Reln_bn& relation = node->relation;
        if (relation.kind != RelnKindEN::noisyMax || condense == (relation.probs == nullptr))
            continue;
        const std::vector<double> params(relation.params, relation.params + NumCIParams(*node));
        ShowReport(node->makeIntoNoisyMax(params.data(), condense));
    }
}

/// At most that many bytes of the file.
std::string Content(const std::string& path, std::size_t most) {
    std::ifstream in(path, std::ios::binary);
    if (most == std::string::npos) return {std::istreambuf_iterator<char>(in), {}};
    std::string start(most, '\0');
    in.read(start.data(), static_cast<std::streamsize>(most));
    start.resize(static_cast<std::size_t>(in.gcount()));
    return start;
}

/// Finds the format, unless it is known, and reads. Null without a report: no format was found.
Bnet_bn* Import(ImportResult& result, const ReadOptions& options) {
    const std::string& path = result.file;
    std::error_code unknown;
    const auto status = std::filesystem::status(path, unknown);
    // A pipe can be read only once.
    const bool isPipe = std::filesystem::exists(status) && std::filesystem::is_other(status);
    const std::string text = Content(path, isPipe ? std::string::npos : DetectionWindow);
    const FormatInfo* format = result.format.empty() ? DetectFormat(text, path)
                                                     : FindFormat(std::string_view(result.format));
    if (format == nullptr) return nullptr;
    result.format = format->name;
    result.formatCode = format->code;
    return isPipe ? ReadForeignNetText(text, path.c_str(), format->code, options)
                  : ReadForeignNetFile(path.c_str(), format->code, options);
}

cpp11::sexp Lines(const std::vector<std::string>& texts) {
    cpp11::writable::strings lines(static_cast<R_xlen_t>(texts.size()));
    R_xlen_t i = 0;
    for (const std::string& text : texts)
        lines[i++] = Text(text.substr(0, text.find_last_not_of('\n') + 1));
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
    const OnlyRead only;
    const auto flag = [&](const char* name) { return cpp11::as_cpp<bool>(how[name]); };
    const auto className = cpp11::as_cpp<std::string>(how["class_name"]);
    const bool condense = flag("condense");
    ReadOptions options;
    options.lenient = !flag("strict");
    options.normalize = flag("normalize");
    options.createStateNamesDsc = options.createStateNamesXMLBIF = flag("create_state_names");
    options.className = className;
    ImportResult result;
    result.file = path;
    result.format = cpp11::as_cpp<std::string>(how["format"]);
    Collector collector(result, condense);
    {
        const HandlerScope handler(collector);
        const ReportScope scope;
        result.net.reset(Import(result, options));
        if (result.net != nullptr) CondenseNoisyMax(*result.net, condense);
    }
    collector.passInterrupt();
    result.dropFailedNet();
    Record record;
    record.add("net", ToR(result));
    record.add("notes", Lines(collector.notes));
    record.add("skipped", Skipped(result.skipped));
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

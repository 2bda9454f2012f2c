// Writing a file, and what R is told of the formats.
#include <lumo/detect.h>
#include <lumo/output.h>
#include <lumo/placing.h>
#include <lumo/reduce.h>
#include <lumo/writers.h>

#include <ostream>
#include <system_error>

#include "lumo_r.h"

namespace lumo::r {
namespace {

/// What the format does not keep, a line each.
cpp11::sexp Write(const cpp11::list& net, const std::string& path, const std::string& format,
                  const std::string& source, const Reduction& reduction, bool force) {
    const Writer* const writer = format.empty() ? FindWriterForFile(path) : FindWriter(format);
    if (writer == nullptr)
        throw std::runtime_error("no format to write '" + (format.empty() ? path : format) +
                                 "'; see net_formats()");
    if (writer->unavailable != nullptr && writer->unavailable() != nullptr)
        throw std::runtime_error(writer->unavailable());
    if (!source.empty() && IdentityOf(path) && IdentityOf(path) == IdentityOf(source))
        throw std::runtime_error(
            "the net was read from '" + path +
            "'; force = TRUE writes over it, where it was read without errors");
    const ImportResult result = FromR(net);
    cpp11::writable::strings notes;
    for (const std::string& note : Reduce(*result.net, reduction)) notes.push_back(Text(note));
    const WrittenFile written = WriteToFile(
        path, [&](std::ostream& out) { writer->write(result, out); }, {.replacesReadOnly = force});
    if (written.error != 0)
        throw std::runtime_error("cannot write '" + path +
                                 "': " + std::generic_category().message(written.error));
    if (written.isInPlace)
        cpp11::warning(
            "'%s' is written where it stands, not in one step: its folder takes no new file",
            path.c_str());
    if (writer->losses == nullptr) return notes;
    for (const std::string& note : LossNotes(writer->losses(*result.net), writer->title))
        notes.push_back(Text(note));
    return notes;
}

/// The places of the automatic layout: two columns, x and y.
cpp11::sexp Positions(const cpp11::list& list) {
    const ImportResult result = FromR(list);
    LayOut(*result.net);
    const int count = result.net->nodes.N;
    cpp11::writable::integers positions(2 * static_cast<R_xlen_t>(count));
    for (int i = 0; i < count; ++i) {
        const coord_kt at = result.net->nodes[i]->vns[0]->position();
        positions[i] = at.x;
        positions[count + i] = at.y;
    }
    positions.attr("dim") = {count, 2};
    return positions;
}

struct Columns {
    cpp11::writable::strings name, title, extensions;
    cpp11::writable::logicals read, write;

    void add(const char* itsName, const char* itsTitle, std::string_view itsExtensions, bool isRead,
             bool isWritten) {
        name.push_back(itsName);
        title.push_back(itsTitle);
        extensions.push_back(Text(itsExtensions));
        read.push_back(cpp11::r_bool(isRead));
        write.push_back(cpp11::r_bool(isWritten));
    }
};

cpp11::sexp FormatTable() {
    const auto canWrite = [](const Writer& writer) {
        return writer.unavailable == nullptr || writer.unavailable() == nullptr;
    };
    Columns columns;
    for (const FormatInfo& format : Formats()) {
        const Writer* const writer = FindWriter(format.name);
        columns.add(format.name, format.title, format.extensions, true, writer != nullptr);
    }
    for (const Writer& writer : Writers())
        if (FindFormat(std::string_view(writer.name)) == nullptr)
            columns.add(writer.name, writer.title, writer.extension, false, canWrite(writer));
    Record record;
    record.add("name", columns.name);
    record.add("title", columns.title);
    record.add("extensions", columns.extensions);
    record.add("read", columns.read);
    record.add("write", columns.write);
    return record.list();
}

}  // namespace
}  // namespace lumo::r

SEXP lumo_write(SEXP net, SEXP path, SEXP format, SEXP source, SEXP plain, SEXP onlyNature,
                SEXP force) {
    BEGIN_CPP11
    return lumo::r::Write(cpp11::list(net), CHAR(STRING_ELT(path, 0)),
                          cpp11::as_cpp<std::string>(format), CHAR(STRING_ELT(source, 0)),
                          {cpp11::as_cpp<bool>(plain), cpp11::as_cpp<bool>(onlyNature)},
                          cpp11::as_cpp<bool>(force));
    END_CPP11
}

SEXP lumo_positions(SEXP net) {
    BEGIN_CPP11
    return lumo::r::Positions(cpp11::list(net));
    END_CPP11
}

SEXP lumo_formats() {
    BEGIN_CPP11
    return lumo::r::FormatTable();
    END_CPP11
}

extern "C" void R_init_lumo(DllInfo* library) {
    const auto entry = [](const char* name, auto function, int arguments) {
        return R_CallMethodDef{name, reinterpret_cast<DL_FUNC>(function), arguments};
    };
    const R_CallMethodDef entries[] = {
        entry("lumo_read", lumo_read, 2),           entry("lumo_write", lumo_write, 7),
        entry("lumo_positions", lumo_positions, 1), entry("lumo_explain", lumo_explain, 1),
        entry("lumo_formats", lumo_formats, 0),     {nullptr, nullptr, 0}};
    R_registerRoutines(library, nullptr, entries, nullptr, nullptr);
    R_useDynamicSymbols(library, FALSE);
    R_forceSymbols(library, TRUE);
}

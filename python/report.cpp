// Reports.
#include "export/explain.h"
#include "formats/detect.h"
#include "formats/shared/describe.h"
#include "python/lumo_python.h"

namespace lumo::python {
namespace {

std::string PlaceText(const ReportRecord& report) {
    std::string text = ToUtf8(report.file);
    if (report.line > 0)
        text += ":" + std::to_string(report.line) + ":" + std::to_string(report.column);
    return text;
}

}  // namespace

py::tuple Reports(const Net& net) {
    py::tuple reports(net.reports.size());
    for (std::size_t i = 0; i < reports.size(); ++i) reports[i] = py::cast(net.reports[i]);
    return reports;
}

std::string ReportLine(const ReportRecord& report) {
    const std::string place = PlaceText(report);
    return (place.empty() ? "" : place + ": ") + SeverityName(report.severity) + ": " +
           ToUtf8(report.message + ContextText(report)) + " [" + std::to_string(report.number) +
           "]";
}

void DefineReport(py::module_& module) {
    py::class_<ReportRecord>(module, "Report", PlainClass(),
                             "A problem that was met while a file was read. str() is "
                             "\"file:line:column: kind: message (in what) [number]\".")
        .def_readonly("number", &ReportRecord::number,
                      "Which problem it is; lumo.explain tells more.")
        .def_readonly("severity", &ReportRecord::severity,
                      "2 notice, 4 warning, 6 error, 8 fatal error.")
        .def_property_readonly(
            "kind", [](const ReportRecord& r) { return SeverityName(r.severity); },
            "\"notice\", \"warning\", \"error\" or \"fatal\".")
        .def_property_readonly(
            "message", [](const ReportRecord& r) { return ToUtf8(r.message); },
            "What is the matter, in a line; texts of the file in single quotes.")
        .def_property_readonly(
            "file", [](const ReportRecord& r) { return ToUtf8(r.file); }, "The file that was read.")
        .def_property_readonly(
            "line",
            [](const ReportRecord& r) { return r.line > 0 ? std::optional(r.line) : std::nullopt; },
            "The line in the file, from 1; None without a place.")
        .def_property_readonly(
            "column",
            [](const ReportRecord& r) {
                return r.line > 0 ? std::optional(r.column) : std::nullopt;
            },
            "The column in the line, from 1, in bytes; None without a place.")
        .def_property_readonly(
            "place", [](const ReportRecord& r) { return PlaceText(r); },
            "\"file:line:column\", as far as they are known.")
        .def_property_readonly(
            "context",
            [](const ReportRecord& r) {
                return py::make_tuple(TextOrNone(r.structKind), TextOrNone(r.structName),
                                      TextOrNone(r.fieldName));
            },
            "What was being read: (kind of structure, its name, the field), each a text or None.")
        .def(
            "explain", [](const ReportRecord& r) { return Explain(r.number); },
            "What the report means, its cause and its cure.")
        .def("__str__", ReportLine)
        .def("__repr__",
             [](const ReportRecord& r) { return "<lumo.Report " + ReportLine(r) + ">"; });
    module.def(
        "explain", [](int number) { return Explain(number); }, py::arg("number"),
        "What the reports of that number mean, with cause and cure; empty when there are none.");
}

}  // namespace lumo::python

// Comparing nets, and what a list says of each.
#include <sstream>

#include "export/diff.h"
#include "export/survey.h"
#include "python/lumo_python.h"

namespace lumo::python {
namespace {

/// What write(diff, out) writes of the two nets, as text.
template <class WRITE>
std::string Compared(const SharedNet& before, const SharedNet& after,
                     std::optional<double> tolerance, WRITE write) {
    const py::gil_scoped_release release;
    const Comparison found = CompareNets(*before->net, *after->net, {.tolerance = tolerance});
    std::ostringstream out;
    write(NetDiff{*before, *after, found}, out);
    return out.str();
}

std::string DiffText(const SharedNet& before, const SharedNet& after,
                     std::optional<double> tolerance, bool all) {
    return Compared(before, after, tolerance, [all](const NetDiff& diff, std::ostream& out) {
        for (const DiffLine& line : DiffLines(diff, all))
            out << (line.sign == '@' ? "@@ " + line.text + " @@"
                                     : line.sign + std::string(" ") + line.text)
                << '\n';
        out << DiffSummary(diff);
    });
}

py::dict Survey(const Net& net) {
    std::optional<NetSurvey> survey;
    {
        const py::gil_scoped_release release;
        survey.emplace(net);
    }
    py::dict row;
    for (const SurveyColumn& column : SurveyColumns()) {
        const SurveyValue value = column.of(*survey);
        py::object cell = py::none();
        if (const auto* number = std::get_if<long long>(&value)) cell = py::int_(*number);
        if (const auto* text = std::get_if<std::string>(&value)) cell = py::str(ToUtf8(*text));
        row[column.name] = cell;
    }
    return row;
}

}  // namespace

void DefineDiff(py::module_& module) {
    module.def("diff_json", [](const SharedNet& before, const SharedNet& after,
                               std::optional<double> tolerance) {
        return Compared(before, after, tolerance, WriteDiffJson);
    });
    module.def("diff_page", [](const SharedNet& before, const SharedNet& after,
                               std::optional<double> tolerance) {
        return Compared(before, after, tolerance, WriteDiffPage);
    });
    module.def("diff_text", DiffText);
    module.def("survey", Survey);
}

}  // namespace lumo::python

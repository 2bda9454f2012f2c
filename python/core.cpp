// The compiled part of the Python package lumo.
#include <cerrno>

#include "export/writers.h"
#include "formats/detect.h"
#include "python/lumo_python.h"

namespace lumo::python {
namespace {

py::dict FormatExtensions() {
    py::dict formats;
    for (const FormatInfo& format : Formats()) {
        const py::str extensions(std::string(format.extensions));
        formats[format.name] = py::tuple(extensions.attr("split")());
    }
    return formats;
}

py::dict WriterExtensions() {
    py::dict writers;
    for (const Writer& writer : Writers()) writers[writer.name] = std::string(writer.extension);
    return writers;
}

}  // namespace

void ForbidMaking(const py::object& type) {
    auto* const object = reinterpret_cast<PyTypeObject*>(type.ptr());
    object->tp_new = [](PyTypeObject* wanted, PyObject*, PyObject*) -> PyObject* {
        PyErr_Format(PyExc_TypeError, "objects of %s come from reading a file", wanted->tp_name);
        return nullptr;
    };
    PyType_Modified(object);
}

void RaiseOSError(int error, const std::filesystem::path& path) {
    const auto name = py::reinterpret_steal<py::object>(
        PyUnicode_DecodeFSDefaultAndSize(path.c_str(), std::ssize(path.native())));
    errno = error;
    PyErr_SetFromErrnoWithFilenameObject(PyExc_OSError, name.ptr());
    throw py::error_already_set();
}

}  // namespace lumo::python

PYBIND11_MODULE(_core, module) {
    namespace python = lumo::python;
    python::DefineReport(module);
    python::DefineNode(module);
    python::DefineNet(module);
    python::DefineReading(module);
    python::DefineState(module);
    python::DefineDiff(module);
    python::DefineChanging(module);
    module.attr("__version__") = LUMO_VERSION;
    module.attr("formats") = python::FormatExtensions();
    module.attr("writers") = python::WriterExtensions();
    for (const char* name : {"Report", "State", "Group", "Node", "Nodes"}) {
        module.attr(name).attr("__module__") = "lumo";
        python::ForbidMaking(module.attr(name));
    }
    module.attr("Net").attr("__module__") = "lumo";
}

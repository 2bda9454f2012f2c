"""docs/tour.ipynb runs: notebook_test.py ROOT, with the built package on PYTHONPATH; `notebook_test.py ROOT keep`
puts what it shows into it."""

import os
import pathlib
import sys
import tempfile

with tempfile.TemporaryDirectory() as folder:
    os.environ.update(HOME=folder, IPYTHONDIR=folder, JUPYTER_CONFIG_DIR=folder, JUPYTER_RUNTIME_DIR=folder,
                      PYDEVD_DISABLE_FILE_VALIDATION="1")
    import nbformat
    from nbconvert.preprocessors import ExecutePreprocessor

    docs = pathlib.Path(sys.argv[1], "docs")
    notebook = nbformat.read(docs / "tour.ipynb", as_version=4)
    ExecutePreprocessor(timeout=120, kernel_name="python3").preprocess(notebook, {"metadata": {"path": docs}})

outputs = [output for cell in notebook.cells if cell.cell_type == "code" for output in cell.outputs]
shown = "".join(str(output.get("data", {}).get("text/html", "")) + output.get("text", "") for output in outputs)
kinds = {output.output_type for output in outputs}
assert kinds == {"execute_result", "stream"}, kinds  # no error, nothing left on standard error
assert not any(output.get("name") == "stderr" for output in outputs)
for wanted in ("hugin/asia.net", "data:image/svg+xml", "<td>0.7</td>", "illegal number 'full'", "pgmpy"):
    assert wanted in shown, (wanted, shown)
if sys.argv[2:] == ["keep"]:
    nbformat.write(notebook, docs / "tour.ipynb")

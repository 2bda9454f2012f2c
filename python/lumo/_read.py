"""Reading files, texts, and many files at once."""

import collections
import concurrent.futures
import os
import warnings

from lumo import _core
from lumo._core import ReadError

# What a thread reads before it hands it over, since small files take less than handing over: files, and bytes.
RUN = 16
RUN_BYTES = 1 << 18


class LumoWarning(UserWarning):
    """A report as a Python warning, of lumo.read(..., warn=True); `report` is the Report."""

    __module__ = "lumo"

    def __init__(self, report):
        super().__init__(str(report))
        self.report = report


def _warn_of(net, stacklevel):
    for report in net.reports:
        if report.kind != "notice":
            warnings.warn(LumoWarning(report), stacklevel=stacklevel + 1)


def _format(name):
    """The key of lumo.formats; an extension stands for the format that has it, as in Net.write()."""
    if name is None or name in _core.formats:
        return name
    extension = "." + name.lstrip(".").lower()
    return next((key for key, extensions in _core.formats.items() if extension in extensions), name)


def read(path, format=None, condense=False, *, strict=False, normalize=False, class_name=None,
         create_state_names=False, max_memory=None, warn=False):
    """Reads a file into a Net. With errors in it, it is read as far as possible: Net.status and Net.reports tell.

    path: a path, or an open file, whose content is read.
    format: a key of lumo.formats, or an extension; None: it is found out from the content, then the extension.
    condense: noisy-max nodes keep their parameters alone.
    strict: reads by the letter of the format; else more is read of files that depart from it, and reported.
    normalize: scales the rows of nature nodes that do not sum to 1.
    class_name: the class to read of an object-oriented Hugin file.
    create_state_names: makes names of state titles that are no legal names (DSC, XML BIF).
    max_memory: bytes that the text and the net's tables may take (2 GB); what is beyond is an error of its own.
    warn: each report from a warning up is a LumoWarning as well.

    Raises OSError as open() does (FileNotFoundError, PermissionError, IsADirectoryError ...), ReadError when
    nothing could be read, and ValueError for an unknown format."""
    if hasattr(path, "read"):
        return reads(path.read(), format, getattr(path, "name", "text"), condense, strict=strict, normalize=normalize,
                     class_name=class_name, create_state_names=create_state_names, max_memory=max_memory, warn=warn)
    net = _core.read(path, _core.Reading(_format(format), condense, strict, normalize, class_name, create_state_names,
                                         max_memory))
    if warn:
        _warn_of(net, 2)
    return net


def reads(data, format=None, name="text", condense=False, *, strict=False, normalize=False, class_name=None,
          create_state_names=False, max_memory=None, warn=False):
    """Reads bytes or a string into a Net; reports and the net are named after `name`, a text or a path. Else as
    read().

    Raises ReadError when nothing could be read, and ValueError for an unknown format."""
    net = _core.reads(data, name,
                      _core.Reading(_format(format), condense, strict, normalize, class_name, create_state_names,
                                    max_memory))
    if warn:
        _warn_of(net, 2)
    return net


def _read_run(paths, options):
    results = []
    for path in paths:
        try:
            results.append(read(path, **options))
        except (OSError, ReadError) as error:
            results.append(error)
    return results


def _size(path):
    try:
        return os.path.getsize(path)
    except (OSError, TypeError, ValueError):  # an open file, or what reading will name
        return 0


def _runs(paths):
    run, size = [], 0
    for path in paths:
        run.append(path)
        size += _size(path)
        if len(run) == RUN or size >= RUN_BYTES:
            yield run
            run, size = [], 0
    if run:
        yield run


def _with_progress(paths):
    """The paths with a progress bar of tqdm, for a notebook or a terminal."""
    try:
        from tqdm.auto import tqdm
    except ImportError as error:
        raise ImportError("progress=True needs the package tqdm", name="tqdm") from error
    return tqdm(paths, unit="file")


def read_many(paths, jobs=None, *, warn=False, progress=False, **options):
    """Reads the files and gives their nets, one by one, in the order of the paths. In the place of a file that
    cannot be read is the error, an OSError or ReadError, which is not raised. A single path stands for a list of it.

    jobs: how many files are read at the same time, in threads; None: one for each processor. A few dozen results
    a job wait to be taken, no more: the paths may be many, and may come from a generator.
    warn: each report from a warning up is a LumoWarning as well.
    progress: shows a progress bar, of the package tqdm.
    The further options are those of read().

    Raises ValueError for an unknown format or when jobs is below 1."""
    if isinstance(paths, (str, bytes, os.PathLike)):
        paths = [paths]
    if progress:
        paths = _with_progress(paths)
    jobs = (os.cpu_count() or 1) if jobs is None else jobs
    waiting = collections.deque()

    def results():
        for result in waiting.popleft().result():
            if warn and not isinstance(result, Exception):
                _warn_of(result, 3)
            yield result

    with concurrent.futures.ThreadPoolExecutor(jobs) as pool:
        try:
            for run in _runs(paths):
                waiting.append(pool.submit(_read_run, run, options))
                if len(waiting) > jobs:
                    yield from results()
            while waiting:
                yield from results()
        finally:
            for run in waiting:
                run.cancel()

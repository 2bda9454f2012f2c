"""docs/scale.py on a cluster of two workers, one of which dies meanwhile: scale_test.py ROOT."""

import collections
import functools
import os
import pathlib
import signal
import sys
import tempfile
import time

import distributed
import lumo

ROOT = pathlib.Path(sys.argv[1])
sys.path.append(str(ROOT / "docs"))
import scale  # noqa: E402


def gated(path, gate, rows=scale.rows):
    """Each worker does one file, and waits with the second until the gate is there."""
    while "LUMO_DID_ONE" in os.environ and not os.path.exists(gate):
        time.sleep(0.01)
    os.environ["LUMO_DID_ONE"] = "yes"
    return list(rows(path))


def kill_one_that_holds_results(cluster, client):
    """Its results are lost with it, and what it was at."""
    while not any(client.has_what().values()):
        time.sleep(0.01)
    address = next(address for address, held in client.has_what().items() if held)
    worker = next(worker for worker in cluster.workers.values() if worker.worker_address == address)
    os.kill(worker.process.pid, signal.SIGKILL)
    return worker.process.pid


def main():
    samples = [str(path) for path in sorted(ROOT.glob("samples/*/*")) if path.suffix != ".expected"]
    with tempfile.TemporaryDirectory() as folder:
        damaged = pathlib.Path(folder, "damaged.net")
        damaged.write_bytes(b"net { \x00")
        paths = [*samples, str(damaged), f"{folder}/none.net"]
        gate = pathlib.Path(folder, "gate")
        rows, scale.rows = scale.rows, functools.partial(gated, gate=gate)
        with distributed.LocalCluster(2, threads_per_worker=1, dashboard_address=None,
                                      local_directory=folder) as cluster, distributed.Client(cluster) as client:
            future = client.compute(scale.table(paths, files_a_task=1))
            killed = kill_one_that_holds_results(cluster, client)
            assert not future.done()
            gate.touch()
            frame = future.result(timeout=120)
            assert killed not in {worker.process.pid for worker in cluster.workers.values()}
            reports = client.submit(lambda path: lumo.read(path).reports, samples[0]).result(timeout=60)
            assert reports == lumo.read(samples[0]).reports
            nets = client.map(lumo.read, samples)
            assert [net.to_json() for net in client.gather(nets)] == [lumo.read(path).to_json() for path in samples]
        wanted = collections.Counter((path, row["what"]) for path in paths for row in rows(path))
    seen = collections.Counter(zip(frame["file"], frame["what"]))
    assert seen == wanted, (seen - wanted, wanted - seen)
    assert frame["file"][frame["what"] == "net"].tolist() == paths[:-1]
    assert frame["text"][frame["file"] == paths[-1]].tolist() == [f"[Errno 2] No such file or directory: {paths[-1]!r}"]


if __name__ == "__main__":
    main()

"""Data generation by Kubernetes: the job that scripts/datagen-shards kubernetes prints is one by the published schema,
and what its containers run makes the shards. No cluster is needed."""

from __future__ import annotations

import copy
import json
import os
import pathlib
import re
import subprocess
import unittest

from client import DEADLINE, engine_path
from shard_test import QUICK, ROOT, ShardTest

try:
    import yaml
except ImportError:
    raise unittest.SkipTest("PyYAML is not installed (Debian package: python3-yaml)") from None

SCHEMA = pathlib.Path(__file__).with_name("kubernetes")
RECIPE = ROOT / "packaging" / "container" / "Containerfile"


class KubernetesTest(ShardTest):
    GAMES = ("games=10", "seed=1")

    def printed(self, *arguments: str, folder: str = "shards") -> list[dict]:
        return list(yaml.safe_load_all(self.succeed("kubernetes", folder, *arguments)))

    def begin(self, *arguments: str) -> list[dict]:
        return self.printed(f"engine={engine_path()}", QUICK, *self.GAMES, "shard=2", *arguments)


class Manifest(KubernetesTest):
    def complaints(self, objects: list[dict]) -> list[str]:
        """What the schema says against each."""
        from library import install_locked  # needs Node.js

        done = subprocess.run(["node", str(SCHEMA / "schema.mjs"), install_locked(str(SCHEMA))],
                              input=json.dumps(objects), capture_output=True, text=True, timeout=DEADLINE,
                              check=False)
        self.assertEqual(done.returncode, 0, done.stderr)
        return json.loads(done.stdout)

    def test_schema(self) -> None:
        claim, job = self.begin()
        self.assertEqual(self.complaints([claim, job]), ["", ""])

        # And it tells what is wrong.
        wrong = []
        for path, value in (("spec/completionMode", "indexed"), ("spec/completions", "5"), ("spec/backoflimit", 1),
                            ("spec/template/spec/restartpolicy", "Never"),
                            ("spec/template/spec/containers/0/securityContext/runasroot", True),
                            ("spec/template/spec/containers/0/env/0/valeu", "x")):
            wrong.append(copy.deepcopy(job))
            *places, name = [int(p) if p.isdigit() else p for p in path.split("/")]
            inner = wrong[-1]
            for place in places:
                inner = inner[place]
            inner[name] = value
        told = ("completionMode", "completions", "no backoflimit", "no restartpolicy", "no runasroot", "no valeu")
        for complaint, name in zip(self.complaints(wrong), told):
            self.assertIn(name, complaint)

    def test_what_the_job_is(self) -> None:
        claim, job = self.begin()
        self.assertEqual((job["apiVersion"], job["kind"]), ("batch/v1", "Job"))
        spec, pod = job["spec"], job["spec"]["template"]["spec"]
        self.assertEqual((spec["completionMode"], spec["completions"], spec["parallelism"]), ("Indexed", 5, 5))
        self.assertIn("backoffLimitPerIndex", spec)
        # Retries of one index need pods that end.
        self.assertEqual(pod["restartPolicy"], "Never")
        # The owner of the folder may write there; root does not run, but who is nobody else, as in the image.
        self.assertTrue(pod["securityContext"]["runAsNonRoot"])
        user = os.getuid() or 10001
        self.assertEqual(pod["securityContext"]["runAsUser"], user)
        self.assertIn("USER 10001:10001\n", RECIPE.read_text())
        container, = pod["containers"]
        self.assertFalse(container["securityContext"]["allowPrivilegeEscalation"])
        self.assertTrue(container["securityContext"]["readOnlyRootFilesystem"])
        self.assertEqual(container["workingDir"], "/data/shards")
        mount, = container["volumeMounts"]
        volume, = pod["volumes"]
        self.assertEqual(mount, {"name": volume["name"], "mountPath": "/data"})
        self.assertEqual(volume["persistentVolumeClaim"], {"claimName": claim["metadata"]["name"]})
        self.assertIn(f" {container['env'][0]['value']}\n", RECIPE.read_text())
        for each in (claim, job):
            self.assertRegex(each["metadata"]["name"], r"^datagen-shards-[0-9a-f]{8}$")

    def test_what_is_given(self) -> None:
        job, = self.begin("tasks=3", "image=example.org/engines/morvane:0.11", "claim=games", "path=of-today/run")
        pod = job["spec"]["template"]["spec"]
        self.assertEqual((job["spec"]["completions"], job["spec"]["parallelism"]), (3, 3))
        self.assertEqual(pod["containers"][0]["image"], "example.org/engines/morvane:0.11")
        self.assertEqual(pod["containers"][0]["workingDir"], "/data/of-today/run")
        self.assertEqual(pod["volumes"][0]["persistentVolumeClaim"]["claimName"], "games")
        self.assertEqual(self.complaints([job]), [""])
        name = "Партії: 1 \"x\" " + "y" * 40
        again = self.printed(f"engine={engine_path()}", "games=1", folder=name)
        self.assertEqual(self.complaints(again), ["", ""])
        self.assertEqual(again[1]["spec"]["template"]["spec"]["containers"][0]["workingDir"], f"/data/{name}")
        for each in again:
            self.assertRegex(each["metadata"]["name"], r"^[a-z]([-a-z0-9]{0,50}[a-z0-9])$")

    def test_refused(self) -> None:
        for word, told in (("claim=Games", "no name of a claim: claim=Games"), ("path=/run", "no path in the volume: "
                           "path=/run"), ("path=a/../../b", "no path in the volume: path=a/../../b"),
                           ("image=a b", "no name of an image: image=a b"), ("tasks=0", "no number of tasks: tasks=0"),
                           ("image=", "neither setting nor option: image=")):
            self.fail_with(told, "kubernetes", "shards", word, status=2)
        self.fail_with("kubernetes takes no options of others: -n x", "kubernetes", "shards", "--", "-n", "x", status=2)
        self.assertFalse((self.folder / "shards").exists())


class Container(KubernetesTest):
    def pod(self, job: dict, index: int, engine: str = "") -> subprocess.CompletedProcess:
        """Runs what a container would, in its folder and with nothing but its environment."""
        container = job["spec"]["template"]["spec"]["containers"][0]
        folder = self.folder / pathlib.PurePath(container["workingDir"]).relative_to("/data")
        environment = {each["name"]: each["value"] for each in container["env"]}
        environment["DATAGEN_ENGINE"] = engine or engine_path()
        return subprocess.run(container["command"], cwd=folder, capture_output=True, text=True, timeout=DEADLINE,
                              check=False, env=environment | {"PATH": os.environ["PATH"],
                                                              "JOB_COMPLETION_INDEX": str(index)})

    def made(self) -> set[str]:
        return {path.stem for path in self.shard(1).parent.glob("*.json")}

    def test_pods_make_the_shards(self) -> None:
        _, job = self.begin("tasks=2")
        made = []
        for index in (0, 1):
            done = self.pod(job, index)
            self.assertEqual(done.returncode, 0, done.stderr)
            made.append(self.made())
        self.assertEqual(made, [{"2", "4"}, {"1", "2", "3", "4", "5"}])
        self.assertEqual(self.joined(), self.one_run(*self.GAMES))
        result = self.call("kubernetes", "shards")
        self.assertEqual((result.returncode, result.stdout, result.stderr),
                         (0, b"", b"datagen-shards: all shards are made: there is no job\n"))

    def test_a_pod_that_fails_goes_on_with_the_rest(self) -> None:
        moody = self.write_program("moody", '#!/bin/sh\ncase " $* " in *" seed=3 "*) [ -e {folder}/well ] || exit 1 ;; '
                                            'esac\nexec {engine} "$@"\n')
        _, job = self.printed(f"engine={moody}", QUICK, *self.GAMES, "shard=2", "tasks=1")
        done = self.pod(job, 0, moody)
        self.assertEqual((done.returncode, self.made()), (1, {"1", "3", "4", "5"}))
        self.assertIn("shard 2: not made\n", done.stderr)
        made = self.present()
        (self.folder / "well").touch()
        self.assertEqual(self.pod(job, 0, moody).returncode, 0)
        self.assertLessEqual(made.items(), self.present().items())
        self.assertEqual(self.joined(), self.one_run(*self.GAMES))

    def test_an_image_with_another_engine_plays_nothing(self) -> None:
        _, job = self.begin()
        other = self.write_program("other", '#!/bin/sh\nexec {engine} "$@"\n')
        done = self.pod(job, 0, other)
        self.assertEqual(done.returncode, 1)
        self.assertRegex(done.stderr, rf"^{re.escape(other)} is another build of the engine than that of the run: "
                                      "[0-9a-f]{64}\n$")
        self.assertEqual(self.made(), set())

    def test_missing_shards_alone(self) -> None:
        _, job = self.begin("tasks=1")
        self.assertEqual(self.pod(job, 0).returncode, 0)
        self.shard(3).write_bytes(self.shard(3).read_bytes()[:-1])
        self.shard(5).unlink()
        kept = {name: state for name, state in self.present().items() if name not in ("3.gz", "5.gz")}
        _, job = self.printed()
        self.assertEqual(job["spec"]["completions"], 2)
        for index in (0, 1):
            self.assertEqual(self.pod(job, index).returncode, 0)
        self.assertLessEqual(kept.items(), self.present().items())
        self.assertEqual(self.joined(), self.one_run(*self.GAMES))


if __name__ == "__main__":
    unittest.main()

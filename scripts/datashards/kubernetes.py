"""Missing shards are played by Kubernetes, as an Indexed Job."""

from __future__ import annotations

import hashlib
import json
import re
from collections.abc import Sequence
from dataclasses import dataclass
from pathlib import Path

from . import folder
from .fault import WrongCall
from .folder import Run
from .slurm import tasks_of

WORDS = ("tasks", "image", "claim", "path")
VOLUME = "/data"  # where containers see it
NOBODY = 10001  # the user of the image

CLAIM = """apiVersion: v1
kind: PersistentVolumeClaim
metadata:
  name: {claim}
spec:
  accessModes: [ReadWriteMany]
  resources:
    requests:
      storage: 10Gi
---
"""

JOB = """apiVersion: batch/v1
kind: Job
metadata:
  name: {name}
spec:
  completionMode: Indexed
  completions: {tasks}
  parallelism: {tasks}
  backoffLimitPerIndex: 5
  template:
    metadata:
      labels:
        app.kubernetes.io/name: morvane-datagen
    spec:
      restartPolicy: Never
      automountServiceAccountToken: false
      securityContext:
        runAsNonRoot: true
        runAsUser: {user}
        runAsGroup: {group}
        fsGroup: {group}
        seccompProfile:
          type: RuntimeDefault
      containers:
        - name: play
          image: {image}
          imagePullPolicy: IfNotPresent
          workingDir: {folder}
          command: [sh, -c, 'exec sh ./play --task "$JOB_COMPLETION_INDEX" {tasks}']
          env:
            - name: DATAGEN_ENGINE
              value: /usr/local/bin/morvane
          resources:
            requests:
              cpu: "1"
              memory: 128Mi
            limits:
              memory: 256Mi
          securityContext:
            allowPrivilegeEscalation: false
            readOnlyRootFilesystem: true
            capabilities:
              drop: [ALL]
          volumeMounts:
            - name: data
              mountPath: {volume}
      volumes:
        - name: data
          persistentVolumeClaim:
            claimName: {claim}
"""


@dataclass(frozen=True)
class Wanted:
    tasks: int
    image: str
    claim: str  # empty: one of its own
    path: str  # of the folder in the volume


def read(place: Path, given: dict[str, str]) -> Wanted:
    """Of a run in this folder, which has the same name in the volume unless another path is given."""
    claim, path = given.get("claim", ""), given.get("path", place.resolve().name)
    if claim and not re.fullmatch(r"[a-z0-9]([-a-z0-9.]{0,251}[a-z0-9])?", claim):
        raise WrongCall(f"no name of a claim: claim={claim}")
    if path.startswith("/") or ".." in path.split("/"):
        raise WrongCall(f"no path in the volume: path={path}")
    image = given.get("image", "morvane-datagen")
    if not re.fullmatch(r"[A-Za-z0-9][A-Za-z0-9._:/@-]*", image):
        raise WrongCall(f"no name of an image: image={image}")
    return Wanted(tasks_of(given), image, claim, path)


def job_name(run: Run) -> str:
    """The same in each call for a folder: a cluster takes no second job while it has the first."""
    path = str(run.folder.resolve())
    plain = re.sub(r"[^a-z0-9]+", "-", run.folder.resolve().name.lower())[:30].strip("-")
    code = hashlib.sha256(path.encode(errors="surrogateescape")).hexdigest()[:8]
    return "-".join(filter(None, ("datagen", plain, code)))


def manifest(run: Run, lost: Sequence[int], wanted: Wanted) -> str:
    """Of a job for the shards, and of its volume if that is not there. JSON's strings are YAML's."""
    folder.replace(run.folder / "missing", "".join(f"{number}\n" for number in lost))
    claim = wanted.claim or job_name(run)
    owner = run.folder.stat()  # may write there; but nothing runs as root
    text = JOB.format(
        name=job_name(run), tasks=min(wanted.tasks, len(lost)), user=owner.st_uid or NOBODY,
        group=owner.st_gid or NOBODY, image=json.dumps(wanted.image), volume=VOLUME, claim=json.dumps(claim),
        folder=json.dumps(f"{VOLUME}/{wanted.path}"))
    return text if wanted.claim else CLAIM.format(claim=claim) + text

"""What scripts/datagen-shards is made of.

plan        which games are in which shard
folder      the folder of a run: begun, gone on with, changed by nobody else
play.sh     plays a shard, wherever that is
store       shards held against their records and the plan; the joined file, the manifest
slurm, kubernetes, here    ways to have the missing shards played
"""

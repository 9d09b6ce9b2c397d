#!/usr/bin/env python3
"""Makes the table of ratios from the measurements of one run, and holds the goals.

    report.py RUN.json [RESULTS.md]

RUN.json is what `morv_bench --benchmark_out=RUN.json` wrote. The table is printed, and with a second argument the
whole report is written there. All numbers are medians of the repetitions of that run.
"""
import collections
import datetime
import json
import os
import statistics
import sys

# What each work is, and what we are compared with: (side, bound) where a bound is
#     ("most", x)   we take at most x times as long,
#     ("least", x)  it takes at least x times as long as we,
#     None          shown without a goal.
SHOWN = None


def most(times):
    return ("most", times)


def least(times):
    return ("least", times)


SLOWER = least(1)

WORKS = [
    ("read_key_60_disk", "read one key of 60", [("floor", most(1.5)), ("glib", least(4))]),
    ("read_key_1000_disk", "read one key of 1,000", [("floor", most(1.5)), ("glib", least(20))]),
    ("set_key_60_disk", "set one key of 60", [("floor", most(1.15))]),
    ("set_key_1000_disk", "set one key of 1,000", [("floor", most(1.15))]),
    ("set_key_folder_60_disk", "set one key of 60, folder synced too", [("floor", most(1.15))]),
    ("set_key_folder_1000_disk", "set one key of 1,000, folder synced too", [("floor", most(1.15))]),
    ("set_50_keys_disk", "set 50 keys of 1,000 at once", [("floor", most(1.3))]),
    # Where the disk does not hide it: the peers' own work. A bare floor without a disk is shown only, for what
    # remains are system calls, and ours make some more for owner, mode and attributes.
    ("set_key_60_memory", "set one key of 60, in memory",
     [("floor", SHOWN), ("glib", SLOWER), ("ini", SLOWER), ("augeas", SLOWER)]),
    ("set_key_1000_memory", "set one key of 1,000, in memory",
     [("floor", SHOWN), ("glib", SLOWER), ("ini", SLOWER), ("augeas", SLOWER)]),
    ("set_50_keys_memory", "set 50 keys of 1,000 at once, in memory", [("floor", SHOWN)]),
    ("read_section_disk", "read a section of 20 keys out of 100", [("floor", most(2))]),
    ("lock_disk", "lock and unlock", [("floor", most(1.5))]),
    ("set_error", "set an error below 32 frames", [("floor", most(1.5))]),
    ("hash_fill", "hash: store 1,000 pairs", [("floor", most(1))]),
    ("hash_find", "hash: look up 1,000 keys", [("floor", most(2))]),
    ("list_insert", "list: insert 10,000 names sorted", [("floor", most(2))]),
    ("list_find", "list: 10,000 look-ups", [("floor", most(1.1))]),
    ("list_and_sorted", "list: intersection, sorted", [("floor", most(1))]),
    ("list_or_sorted", "list: union, sorted", [("floor", most(1))]),
    ("list_and", "list: intersection, unsorted", [("abseil", most(2))]),
    ("list_or", "list: union, unsorted", [("abseil", most(2))]),
    ("list_sub", "list: difference, unsorted", [("abseil", most(2))]),
    ("case_sort_ascii", "list: sort 10,000 names without case, ASCII", [("icu", least(20))]),
    ("case_sort_wide", "list: the same, Greek and Cyrillic", [("icu", least(3))]),
    ("store_get_disk", "store: 100 gets", [("floor", most(1.2)), ("sqlite", SHOWN), ("lmdb", SHOWN)]),
    ("store_open_get_close_disk", "store: open, get, close",
     [("floor", most(1.2)), ("sqlite", SHOWN), ("lmdb", SHOWN)]),
    ("user_get", "look up a user of 2,048 by name", [("floor", most(0.4)), ("libuser", most(0.8))]),
    ("user_get_by_uid", "look up a user of 2,048 by uid", [("floor", most(0.4)), ("libuser", most(0.8))]),
    ("wide_user_get", "the same, 20,000 domain users beside them", [("floor", most(1.3))]),
    ("user_mirror_get", "100 look-ups through an open mirror", [("floor", most(1.5))]),
    ("user_mirror_check", "look whether a mirror is current", [("floor", most(2))]),
    ("user_enum", "list 2,048 users", [("floor", most(0.5))]),
    ("user_build_memory", "build the mirror of 2,048 users, in memory", [("floor", SHOWN), ("sqlite", most(1))]),
    ("user_build_disk", "the same on the disk", [("floor", most(3)), ("sqlite", most(1))]),
    ("wide_user_build", "build it with 20,000 domain users", [("floor", most(22048 / 2048))]),
    ("user_add", "add a user to 2,048", [("floor", most(2)), ("useradd", SHOWN)]),
    ("user_add_500", "add 500 users at once", [("floor", most(3)), ("useradd", least(50))]),
    ("group_build", "build the mirror of 300 groups of 20", [("floor", most(2))]),
    ("share_enum", "list 256 shares", [("floor", most(0.5))]),
    ("share_get", "look up a share of 256", [("floor", most(0.3))]),
    ("raid_read_disk", "read 32 arrays of 16 members", [("floor", most(1.3))]),
    ("raid_read_memory", "the same in memory", [("floor", SHOWN)]),
    ("volume_enum_disk", "list 32 volumes on them, of 1,000 mount lines", [("floor", most(1.3))]),
    ("volume_enum_memory", "the same in memory", [("floor", SHOWN)]),
    ("log_append_disk", "append an event of 100 bytes", [("floor", most(2)), ("sqlite", least(4))]),
    ("log_append_full_disk", "the same in a full ring", [("floor", most(2))]),
    ("log_append_memory", "append an event, in memory", [("floor", most(2))]),
    ("log_append_full_memory", "the same in a full ring", [("floor", most(2))]),
    ("log_read_memory", "a ring of 131,072 bytes as text", [("floor", most(1.2))]),
    ("log_read_ready_memory", "the same", [("floor", most(6))]),
    ("deny_1000", "deny test, 1,000 addresses blocked", [("floor", most(1.1)), ("sqlite", SLOWER)]),
    ("deny_5000", "the same, 5,000", [("floor", most(1.1)), ("sqlite", SLOWER)]),
    ("deny_100000", "the same, 100,000", [("floor", most(1.1))]),
    ("deny_1000000", "the same, 1,000,000", [("floor", most(1.1))]),
    ("count_failure", "count a failure among 100,000", [("floor", most(1.5))]),
    ("block_150000_disk", "block 150,000 addresses at once", [("floor", most(3))]),
    ("block_150000_memory", "the same in memory", [("floor", SHOWN)]),
    ("interfaces_list_8", "list 8 interfaces", [("floor", most(1.2))]),
    ("interfaces_card", "read how one of 8 is configured", [("floor", most(1.5))]),
    ("interfaces_show_process", "`morvctl net show --json` as a process", [("floor", most(1.5))]),
    ("net_split", "take 1,000 dotted texts apart", [("floor", most(1.5))]),
    ("net_address", "1,000 texts: are they addresses", [("floor", most(1.5))]),
    ("net_mask", "the same: netmasks, and their normal form", [("floor", most(1.5))]),
    ("net_network", "the same: networks, with their netmasks", [("floor", most(1.5))]),
    ("net_mask_to_prefix", "1,000 netmasks to prefix lengths", [("floor", most(1))]),
    ("net_prefix_to_mask", "1,000 prefix lengths to netmasks", [("floor", most(1))]),
    ("net_atom", "1,000 texts: are they atoms", [("floor", most(1.5))]),
    ("net_domain", "the same: domain names", [("floor", most(1.5))]),
    ("net_mailbox", "the same: mail addresses", [("floor", most(1.5))]),
    ("net_hostname", "the same: host names", [("floor", most(1.5))]),
    ("backup_export_disk", "back up 2,048 users, 300 groups, 256 shares", [("floor", SHOWN)]),
    ("backup_export_memory", "the same to a file in memory", [("floor", most(2))]),
    ("backup_import", "restore them on an empty system", [("floor", most(3))]),
    ("backup_grow", "restore 2,048 users", [("floor", most(2048 / 200))]),
    ("backup_inspect_process", "`morvctl backup inspect` of 64 MiB as a process", [("floor", most(2))]),
]

# What the floor of a work is, by the start of its name.
FLOORS = {
    "read_": "bare read and search",
    "set_key": "bare read, search, temporary, fsync, rename",
    "set_50": "bare read, search, temporary, fsync, rename",
    "lock": "bare open, flock, close",
    "set_error": "backtrace() alone",
    "hash": "std::unordered_map",
    "list_insert": "std::set",
    "list_find": "bsearch",
    "list_and": "std::set_intersection",
    "list_or": "std::set_union",
    "store": "the btree library called bare",
    "user_get": "fgetpwent_r and fgetspent_r",
    "wide_user_get": "the same without them",
    "user_mirror_get": "the btree library called bare",
    "user_mirror_check": "stat of the nine files",
    "user_enum": "fgetpwent_r",
    "user_build": "five ready images written, fsync, rename",
    "wide_user_build": "the same without them",
    "group_build": "bare parse, look-up of members, puts",
    "share": "bare read and split of the file",
    "raid": "bare opens and reads of the same files",
    "volume": "bare opens and reads of the same files",
    "log_append_full": "bare ring, with its two syncs",
    "log_append": "bare ring, with its sync",
    "log_read_ready": "bare read of the ready text",
    "log_read": "bare read, times made by hand, write",
    "deny": "bare pass over 64 KiB mappings",
    "count_failure": "bare pass over 64 KiB mappings",
    "block": "bare write, fsync, rename",
    "interfaces_show": "`ip -j addr`",
    "interfaces": "bare reads and ioctls",
    "net_mask_to_prefix": "inet_pton, inet_ntop, sprintf",
    "net_prefix_to_mask": "inet_pton, strtol, inet_ntop",
    "net": "inet_pton on texts as long",
    "backup_export": "each record read once through open mirrors",
    "backup_import": "the final files written, fsync, rename",
    "backup_grow": "200 of them",
    "backup_inspect": "cat",
    "user_add": "bare hash, read, change, fsync, rename of four files",
}
PEERS = {"glib": "GLib", "ini": "libini_config", "augeas": "Augeas", "abseil": "Abseil flat_hash_set",
         "icu": "ICU at each comparison", "libuser": "libuser", "useradd": "useradd", "sqlite": "SQLite", "lmdb": "LMDB"}


def peer_name(work, side):
    if side != "floor":
        return PEERS[side]
    return next(name for start, name in FLOORS.items() if work.startswith(start))


def read_times(run):
    """By "work/side" the times in microseconds, one for each repetition; those that took turns belong together."""
    times = collections.defaultdict(list)
    for entry in run["benchmarks"]:
        if entry["run_type"] != "iteration":
            continue
        work = entry["name"].split("/")[0]
        for side in ["ours", "floor", *PEERS]:
            if side in entry:
                times[f"{work}/{side}"].append(entry[side] * 1e6)
    return times


def shown_time(micros):
    for limit, unit, factor in ((1, "ns", 1e3), (1e3, "µs", 1), (float("inf"), "ms", 1e-3)):
        if micros < limit:
            return f"{micros * factor:.3g} {unit}"


def shown_spread(times):
    """Half the distance of the quartiles, in percent of the median."""
    if len(times) < 3:
        return ""
    low, middle, high = statistics.quantiles(times, n=4)
    return f"±{50 * (high - low) / middle:.0f} %"


def judge(ratio, bound):
    """The ratio of our time to theirs as text, the goal as text, and whether it is met (None: no goal)."""
    if bound and bound[0] == "least":
        ratio = 1 / ratio
        goal = "slower than we" if bound == SLOWER else f"at least {bound[1]} times slower"
        return f"{ratio:.2f} times slower", goal, ratio >= bound[1]
    return f"{ratio:.2f}", f"at most {bound[1]:.3g}" if bound else "", ratio <= bound[1] if bound else None


def make_rows(times):
    for work, title, sides in WORKS:
        ours = times.get(f"{work}/ours")
        for side, bound in sides:
            theirs = times.get(f"{work}/{side}")
            name = peer_name(work, side)
            if not ours or not theirs:
                yield [title, "", name, "", "not in this run", "", ""], None
                continue
            mine, other = statistics.median(ours), statistics.median(theirs)
            ratio = mine / other
            if side == "floor":
                # The two of one repetition belong together, however busy the machine was then.
                ratio = statistics.median(a / b for a, b in zip(ours, theirs))
            ratio, goal, met = judge(ratio, bound)
            verdict = {True: "met", False: "MISSED", None: ""}[met]
            yield [title, f"{shown_time(mine)} {shown_spread(ours)}", name,
                   f"{shown_time(other)} {shown_spread(theirs)}", ratio, goal, verdict], met


HEAD = ["work", "ours", "compared with", "its time", "ratio", "goal", ""]


def make_table(rows):
    table = [HEAD] + rows
    width = [max(len(row[i]) for row in table) for i in range(len(HEAD))]
    lines = ["| " + " | ".join(cell.ljust(width[i]) for i, cell in enumerate(row)) + " |" for row in table]
    lines.insert(1, "|" + "|".join("-" * (w + 2) for w in width) + "|")
    return "\n".join(lines)


def machine(context):
    kind = ""
    with open("/proc/cpuinfo", encoding="utf-8") as info:
        kind = "virtual " if any("hypervisor" in line.split() for line in info) else ""
    return f"{kind}{os.uname().machine} machine with {context['num_cpus']} processors"


def make_report(run, table, summary):
    context = run["context"]
    date = datetime.datetime.fromisoformat(context["date"]).date()
    peers = ", ".join(f"{key[5:]} {value}" for key, value in context.items() if key.startswith("peer "))
    repetitions = max(entry.get("repetitions", 1) for entry in run["benchmarks"])
    memory = context.get("memory")
    on_memory = f"; rows marked \"in memory\" use {memory}" if memory else "; there was no file system in memory"
    return f"""# How fast it is

Written by `scripts/bench` on {date}: run it for the numbers of your own machine. {summary}

{table}

- Times are medians of {repetitions} repetitions, made in random order, with half the distance of their quartiles.
  A ratio is our time divided by the other one; ratios travel between machines, times do not. A floor takes
  turns with us call by call, and the ratio is the median of the repetitions' ratios.
- Before anything is measured every side does its work once and the results are compared.
- A floor is the least that does the job: it is told the shape of the file, checks nothing and serves one caller.
  Writing with a floor keeps neither owner nor mode, attributes nor links, as we do.
- Measured on a {machine(context)}, {context["compiler"]} -O2, {context["libc"]}, the shared library
  as it is shipped. Files lie on {context["disk"]}{on_memory}.
  On a virtual disk the time of a sync is the host's as much as ours.
- Users, groups and shares: the files lie on {context["disk"]}, mirrors and locks on {memory or context["disk"]},
  as on an appliance; in rows "on the disk" all are there, where the record library syncs each store several times.
  Of the 500 runs of useradd one is measured, and counts 500 times.
- In the same run: {peers}.
"""


def main():
    if len(sys.argv) not in (2, 3):
        sys.exit(__doc__)
    with open(sys.argv[1], encoding="utf-8") as file:
        run = json.load(file)
    rows = list(make_rows(read_times(run)))
    verdicts = [met for _, met in rows if met is not None]
    summary = f"{sum(verdicts)} of {len(verdicts)} goals are met."
    table = make_table([row for row, _ in rows])
    print(table)
    print(summary)
    if len(sys.argv) == 3:
        with open(sys.argv[2], "w", encoding="utf-8") as file:
            file.write(make_report(run, table, summary))


if __name__ == "__main__":
    main()

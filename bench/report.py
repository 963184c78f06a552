#!/usr/bin/env python3
"""Turns the pipeline benchmark's JSON results into docs/PERFORMANCE.md and a plot.

Reads every *.json in the results folder written by quill_pipeline_benchmark (one file per stage
variant and profile, as scripts/bench runs them), and writes the Markdown report and a PNG of the
per-change costs against the topology's size. Every figure comes from those files; costs are
shown in nanoseconds and in "u", the calibration triple measured in the same process. When a
variant and profile ran in several rounds (processes), each figure is the median over them.

Every library case has a twin run by the framework-free baseline (bench/baseline/) in the same
process; the report gives the library's cost and bytes over the baseline's beside each figure.
With --sizes, the memory section also lists sizeof of the pipeline's types (quill_sizes' JSON).

    report.py --results DIR --markdown docs/PERFORMANCE.md --plot docs/performance.png \
        [--sizes quill_sizes.json]
"""

import argparse
import glob
import json
import os
import sys

MODES = ["compiled", "hand-written"]
CALIBRATION = "BM_UnorderedMapInsertFindErase"
PROFILE_ORDER = ["small", "medium", "large"]
TIME_SCALE = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}

# Target thresholds at the large profile, compiled variants.
TARGET_BINDING_U = 30
TARGET_FLAP_U_PER_FEC = 15
TARGET_PEER_U_PER_PAIR = 20
TARGET_COLD_U_PER_PAIR = 40
TARGET_RECOMPUTATION_RATIO = 10000
TARGET_BYTES_PER_PAIR = 1024
TARGET_VARIANT_RATIO = 1.15
TARGET_BASELINE_RATIO = 4
TARGET_PEAK_RSS_MIB = 600

STAGES = [
    ("B_1_inversion", "1 inversion"),
    ("B_resolution", "resolution requests and results"),
    ("B_2_router_next_hops", "2 router next-hops"),
    ("B_3_interface_grouping", "3 interface grouping"),
    ("B_4_mpls_filter", "4 MPLS filter"),
    ("B_5_interface_address_filter", "5 interface-address filter"),
    ("B_6_fec_next_hops", "6 FEC next-hops"),
    ("B_7_lfib", "7 LFIB"),
]
NOTIFIERS = ("B_label_notifiers", "label binding notifiers (outside the seven stages)")


def base_name(name):
    return name.split("/")[0]


class Run:
    """One process: one stage variant, one profile."""

    def __init__(self, path):
        with open(path) as f:
            data = json.load(f)
        self.path = path
        self.context = data["context"]
        self.mode = self.context.get("quill_mode", "unknown")
        self.cases = {}
        self.errors = []
        self.profile = None
        for bench in data["benchmarks"]:
            if bench.get("run_type", "iteration") != "iteration":
                continue
            if bench.get("error_occurred"):
                self.errors.append(f"{bench['name']}: {bench.get('error_message', '')}")
                continue
            name = base_name(bench["name"])
            if name == CALIBRATION:
                name += "/" + bench["name"].split("/")[1]  # at:0 (first) or at:1 (last)
            scale = TIME_SCALE[bench.get("time_unit", "ns")]
            # Manually timed cases keep their timed region in real_time; the others report CPU.
            manual = bench["name"].endswith("/manual_time")
            bench["ns"] = (bench["real_time"] if manual else bench["cpu_time"]) * scale
            self.cases[name] = bench
            if bench.get("label"):
                self.profile = bench["label"]

    def calibrations(self):
        return [self.cases[k]["ns"] for k in sorted(self.cases) if k.startswith(CALIBRATION)]


def median(values):
    values = sorted(values)
    mid = len(values) // 2
    return values[mid] if len(values) % 2 else (values[mid - 1] + values[mid]) / 2


class Merged:
    """The rounds of one stage variant and profile, case by case: the median of each figure.

    A case's cost in u is the median over the rounds of (cost / the unit measured after it in
    that round); `u_ns` is set so that ns / u_ns gives it back.
    """

    def __init__(self, rounds):
        self.rounds = rounds
        self.context = rounds[0].context
        self.cases = {}
        for name in rounds[0].cases:
            present = [r.cases[name] for r in rounds if name in r.cases]
            merged = {}
            for key, value in present[0].items():
                if isinstance(value, (int, float)) and not isinstance(value, bool):
                    merged[key] = median([c.get(key, value) for c in present])
                else:
                    merged[key] = value
            if "u_ns" in present[0]:
                in_u = median([c["ns"] / c["u_ns"] for c in present])
                merged["u_ns"] = merged["ns"] / in_u
            merged["peak_rss_kib"] = max(c.get("peak_rss_kib", 0) for c in present)
            self.cases[name] = merged

    def calibrations(self):
        return [x for r in self.rounds for x in r.calibrations()]

    def u(self):
        """The unit of a case that has none of its own: the median standalone calibration."""
        return median(self.calibrations())

    def peak_rss_kib(self):
        return max((c.get("peak_rss_kib", 0) for c in self.cases.values()), default=0)


def load(results):
    rounds = {}
    problems = []
    for path in sorted(glob.glob(os.path.join(results, "*.json"))):
        run = Run(path)
        problems += [f"{os.path.basename(path)}: {e}" for e in run.errors]
        if run.profile is None:
            problems.append(f"{os.path.basename(path)}: no profile case ran")
            continue
        rounds.setdefault((run.mode, run.profile), []).append(run)
    return {key: Merged(value) for key, value in rounds.items()}, problems


class Cost:
    """A cost in ns and the unit measured right after its case (the run's u when missing)."""

    def __init__(self, ns, unit_ns):
        self.ns = ns
        self.unit_ns = unit_ns

    @property
    def u(self):
        return self.ns / self.unit_ns


def costs(run):
    """Per-change figures of one run: {metric: Cost}."""
    c = run.cases
    out = {}

    def put(key, case, divisor_counter=None):
        if case not in c:
            return
        d = c[case].get(divisor_counter, 1.0) if divisor_counter else 1.0
        out[key] = Cost(c[case]["ns"] / d, c[case].get("u_ns", run.u()))

    put("binding", "BM_PipelinePeerLabelChurn", "changes")
    put("local", "BM_PipelineLocalLabelChange", "changes")
    put("link", "BM_PipelineLinkFlap", "changes")
    put("flap_per_fec", "BM_PipelineLinkFlap", "pairs")
    put("flap", "BM_PipelineLinkFlap")
    put("peer_per_pair", "BM_PipelinePeerDownUp", "pairs")
    put("peer", "BM_PipelinePeerDownUp")
    put("build", "BM_PipelineIncrementalBuild", "changes")
    put("cold_per_pair", "BM_PipelineColdStart", "pairs")
    put("cold", "BM_PipelineColdStart")
    put("audit", "BM_AuditFullRecomputation")
    put("nh_link", "BM_NexthopStagesLinkFlap", "changes")
    put("nh_peer", "BM_NexthopStagesPeerDownUp")
    for key, (case, divisor) in BASELINE_TWINS.items():
        put(baseline_key(key), case, divisor)
    return out


# The baseline's twin of each library figure: its case and the counter it is divided by.
BASELINE_TWINS = {
    "binding": ("BM_BaselinePeerLabelChurn", "changes"),
    "local": ("BM_BaselineLocalLabelChange", "changes"),
    "link": ("BM_BaselineLinkFlap", "changes"),
    "flap": ("BM_BaselineLinkFlap", None),
    "flap_per_fec": ("BM_BaselineLinkFlap", "pairs"),
    "peer": ("BM_BaselinePeerDownUp", None),
    "peer_per_pair": ("BM_BaselinePeerDownUp", "pairs"),
    "build": ("BM_BaselineIncrementalBuild", "changes"),
    "cold_per_pair": ("BM_BaselineColdStart", "pairs"),
    "cold": ("BM_BaselineColdStart", None),
}


def baseline_key(key):
    return "baseline_" + key


def over_baseline(cs, key):
    """The library's CPU time for `key` over its baseline twin's, both from one process."""
    twin = baseline_key(key)
    if key not in cs or twin not in cs:
        return None
    return cs[key].ns / cs[twin].ns


# Cases where only the resolution reactors and stages 1 to 4 run: where the variants differ.
STAGES_1_TO_4 = ("nh_link", "nh_peer")

ROWS = [
    # key, what, per, single change (compared with the full recomputation)
    ("binding", "peer label binding removed or added", "change", True),
    ("local", "local label changed (old removed, new added)", "change", True),
    ("link", "link down or up (loopback route rewritten)", "change", True),
    ("flap", "link flap (down + up)", "flap", False),
    ("flap_per_fec", "link flap (down + up)", "FEC bound by the peer", False),
    ("peer", "peer down and up", "down + up", False),
    ("peer_per_pair", "peer down and up", "(FEC, router) pair of the peer", False),
    ("build", "incremental build, change by change", "change", True),
    ("cold_per_pair", "cold start (`start()` over filled inputs)", "(FEC, router) pair", False),
    ("cold", "cold start (`start()` over filled inputs)", "whole topology", False),
    ("audit", "full recomputation (`Quill::auditPipeline`)", "whole topology", False),
    ("nh_link", "stages 1 to 4 alone: link down or up", "change", False),
    ("nh_peer", "stages 1 to 4 alone: peer's addresses and route down and up", "down + up",
     False),
]


def fmt_ns(ns):
    if ns >= 1e9:
        return f"{ns / 1e9:.2f} s"
    if ns >= 1e6:
        return f"{ns / 1e6:.2f} ms"
    if ns >= 1e3:
        return f"{ns / 1e3:.2f} µs"
    return f"{ns:.0f} ns"


def fmt_num(x, digits=3):
    if x is None:
        return "–"
    if x >= 1e5:
        return f"{x:,.0f}"
    if x >= 100:
        return f"{x:.0f}"
    return f"{x:.{digits}g}"


def topology_of(runs, profile):
    """The topology counters (peers, links, FECs, pairs) of a profile, from any of its cases."""
    for (mode, p), run in runs.items():
        if p == profile:
            for case in run.cases.values():
                if "topology_pairs" in case:
                    return {k[len("topology_"):]: v for k, v in case.items()
                            if k.startswith("topology_")}
    return None


def shape_of(runs, profile):
    topology = topology_of(runs, profile)
    return topology["pairs"] if topology else None


def cost_table(runs, profile):
    lines = []
    comp, hand = runs.get(("compiled", profile)), runs.get(("hand-written", profile))
    cc = costs(comp) if comp else {}
    hc = costs(hand) if hand else {}
    lines.append(
        "| Case | cost per | compiled | compiled (u) | hand-written | hand-written (u) "
        "| compiled ÷ hand-written, in u (in ns) "
        "| recomputation ÷ cost, compiled / hand-written "
        "| baseline | Quill ÷ baseline (CPU), compiled / hand-written |")
    lines.append("|---|---|--:|--:|--:|--:|--:|--:|--:|--:|")
    for key, what, per, _ in ROWS:
        if key not in cc and key not in hc:
            continue
        cells = [what, per]
        for cs in (cc, hc):
            if key in cs:
                cells += [fmt_ns(cs[key].ns), fmt_num(cs[key].u)]
            else:
                cells += ["–", "–"]
        if key in cc and key in hc:
            cells.append(f"{cc[key].u / hc[key].u:.2f} ({cc[key].ns / hc[key].ns:.2f})")
        else:
            cells.append("–")
        if (key != "audit" and key not in STAGES_1_TO_4 and "audit" in cc and key in cc
                and "audit" in hc and key in hc):
            cells.append(f"{fmt_num(cc['audit'].ns / cc[key].ns)} / "
                         f"{fmt_num(hc['audit'].ns / hc[key].ns)}")
        else:
            cells.append("–")
        # The baseline does the same in both processes: its figure from the compiled run.
        twin = baseline_key(key)
        base = cc.get(twin) or hc.get(twin)
        cells.append(f"{fmt_ns(base.ns)} ({fmt_num(base.u)} u)" if base else "–")
        ratios = [over_baseline(cs, key) for cs in (cc, hc)]
        cells.append(" / ".join("–" if r is None else f"{r:.2f}" for r in ratios)
                     if any(r is not None for r in ratios) else "–")
        lines.append("| " + " | ".join(cells) + " |")
    return lines


def extra_counters(runs, profile):
    lines = []
    for mode in MODES:
        run = runs.get((mode, profile))
        if not run or "BM_PipelineLinkFlap" not in run.cases:
            continue
        flap = run.cases["BM_PipelineLinkFlap"]
        peer = run.cases.get("BM_PipelinePeerDownUp", {})
        lines.append(
            f"- {mode}: a flapped peer binds {flap['pairs']:.0f} FECs on average, of which "
            f"{flap['fecs_moved']:.0f} move on each change (the link's share); FECs moved "
            f"although not on the flapped link, in a checked flap: {flap['stray_moves']:.0f}. "
            f"Peer down and up: {peer.get('changes', 0):.0f} input changes for "
            f"{peer.get('pairs', 0):.0f} pairs.")
    return lines


def memory_table(runs):
    lines = []
    header = "| Part | " + " | ".join(
        f"{p} {m}" for p in PROFILE_ORDER for m in MODES if (m, p) in runs) + " |"
    keys = [(m, p) for p in PROFILE_ORDER for m in MODES if (m, p) in runs]
    if not keys:
        return lines
    lines.append("Bytes per (FEC, router) pair (tracked allocations; the LFIB has one branch per "
                 "pair, so these are also bytes per LFIB branch):")
    lines.append("")
    lines.append(header)
    lines.append("|---|" + "--:|" * len(keys))

    def mem(run):
        return run.cases.get("BM_PipelineMemory")

    rows = [("B_inputs", "inputs (tables, addresses, bindings, peer label mirror)")] + STAGES
    rows.append(NOTIFIERS)
    for counter, title in rows:
        cells = [title]
        for key in keys:
            m = mem(runs[key])
            cells.append(f"{m[counter] / m['pairs']:.0f}" if m and counter in m else "–")
        lines.append("| " + " | ".join(cells) + " |")
    totals = (("**all stages** (1 to 7 and resolution)", [c for c, _ in STAGES]),
              ("all stages and the label notifiers", [c for c, _ in STAGES] + [NOTIFIERS[0]]),
              ("everything: inputs, stages, notifiers", [c for c, _ in rows]))
    for title, counters in totals:
        cells = [title]
        for key in keys:
            m = mem(runs[key])
            total = sum(m.get(c, 0) for c in counters) / m["pairs"] if m else None
            cells.append("–" if total is None else f"**{total:.0f}**")
        lines.append("| " + " | ".join(cells) + " |")
    cells = ["per LFIB branch, all stages"]
    for key in keys:
        m = mem(runs[key])
        cells.append(f"{sum(m.get(c, 0) for c, _ in STAGES) / m['branches']:.0f}" if m else "–")
    lines.append("| " + " | ".join(cells) + " |")
    baselines = {key: runs[key].cases.get("BM_BaselineMemory") for key in keys}
    for title, counter in (("baseline (no framework): everything it holds", "B_baseline"),
                           ("of which its hash rings", "B_baseline_rings")):
        cells = [title]
        for key in keys:
            b = baselines[key]
            cells.append(f"{b[counter] / b['pairs']:.0f}" if b and counter in b else "–")
        lines.append("| " + " | ".join(cells) + " |")
    cells = ["**Quill ÷ baseline**, everything"]
    for key in keys:
        total = memory_everything(runs[key])
        b = baselines[key]
        cells.append(f"**{total / (b['B_baseline'] / b['pairs']):.1f}**"
                     if total is not None and b else "–")
    lines.append("| " + " | ".join(cells) + " |")
    cells = ["peak resident size of the process (MiB)"]
    for key in keys:
        cells.append(f"{runs[key].peak_rss_kib() / 1024:.0f}")
    lines.append("| " + " | ".join(cells) + " |")
    lines.append("")
    # Where the bytes of each part go, for the largest profile measured, per variant.
    for mode in MODES:
        profile = next((p for p in reversed(PROFILE_ORDER) if (mode, p) in runs), None)
        m = mem(runs[(mode, profile)]) if profile else None
        if not m:
            continue
        parts = [("inputs", "inputs")] + [(c[2:], t) for c, t in STAGES]
        parts.append((NOTIFIERS[0][2:], NOTIFIERS[1]))
        kinds = sorted({k.split("__", 1)[1] for k in m if k.startswith("K_")})
        lines.append(f"By kind of tracked allocation, {profile} profile, {mode} variants "
                     "(bytes per pair; *entity*: entity objects, *reactor*: reactors and "
                     "per-key reactors, *keyed-map* / *keyed-set*: table slots and buckets):")
        lines.append("")
        lines.append("| Part | " + " | ".join(kinds) + " |")
        lines.append("|---|" + "--:|" * len(kinds))
        for part, title in parts:
            cells = [title]
            for kind in kinds:
                value = m.get(f"K_{part}__{kind}", 0) / m["pairs"]
                cells.append("" if not value else "<1" if value < 0.5 else f"{value:.0f}")
            lines.append("| " + " | ".join(cells) + " |")
        lines.append("")
    return lines


def memory_everything(run):
    """Tracked bytes per pair of everything: inputs, stages and label notifiers."""
    m = run.cases.get("BM_PipelineMemory")
    if not m:
        return None
    counters = ["B_inputs"] + [c for c, _ in STAGES] + [NOTIFIERS[0]]
    return sum(m.get(c, 0) for c in counters) / m["pairs"]


def sizes_table(path):
    """sizeof of each type quill_sizes listed, grouped as it groups them."""
    if not path or not os.path.exists(path):
        return ["quill_sizes was not run: no type sizes."]
    with open(path) as f:
        types = json.load(f)["types"]
    lines = ["`sizeof` of the types the pipeline keeps per element (`quill_sizes`, bench/sizes.cpp; "
             "bytes, alignment in parentheses):", "",
             "| Group | Type | sizeof |", "|---|---|--:|"]
    for t in types:
        lines.append(f"| {t['group']} | `{t['name']}` | {t['size']} ({t['align']}) |")
    return lines


def targets(runs):
    lines = []
    comp, hand = runs.get(("compiled", "large")), runs.get(("hand-written", "large"))
    if not comp:
        return ["The large profile was not run: no target can be judged."]
    cc = costs(comp)

    def verdict(ok):
        return "met" if ok else "**missed**"

    lines.append("| Target (large profile, compiled variants) | limit | measured | verdict |")
    lines.append("|---|--:|--:|---|")

    def row(what, limit, value, ok):
        lines.append(f"| {what} | {limit} | {value} | {verdict(ok)} |")

    if "binding" in cc:
        v = cc["binding"].u
        row("peer label binding added or removed, reaching the LFIB", f"{TARGET_BINDING_U} u",
            f"{v:.1f} u", v <= TARGET_BINDING_U)
    if "flap_per_fec" in cc:
        v = cc["flap_per_fec"].u
        row("link flap (down + up), per FEC bound by the peer", f"{TARGET_FLAP_U_PER_FEC} u",
            f"{v:.1f} u", v <= TARGET_FLAP_U_PER_FEC)
    if "peer_per_pair" in cc:
        v = cc["peer_per_pair"].u
        row("peer down and up, per (FEC, router) pair of the peer",
            f"{TARGET_PEER_U_PER_PAIR} u", f"{v:.1f} u", v <= TARGET_PEER_U_PER_PAIR)
    if "cold_per_pair" in cc:
        v = cc["cold_per_pair"].u
        row("cold start, per (FEC, router) pair", f"{TARGET_COLD_U_PER_PAIR} u", f"{v:.1f} u",
            v <= TARGET_COLD_U_PER_PAIR)
    if "audit" in cc:
        for key, what, per, single in ROWS:
            if single and key in cc:
                ratio = cc["audit"].ns / cc[key].ns
                row(f"full recomputation ÷ {what} (per {per})",
                    f"≥ {TARGET_RECOMPUTATION_RATIO:,}", fmt_num(ratio),
                    ratio >= TARGET_RECOMPUTATION_RATIO)
    for key, what, per, _ in ROWS:
        if key not in BASELINE_TWINS or key in ("flap", "flap_per_fec", "peer", "cold"):
            continue  # one row per kind of change: the flap, peer and cold start per pair
        ratio = over_baseline(cc, key)
        if ratio is not None:
            row(f"Quill ÷ baseline, CPU: {what} (per {per})", f"≤ {TARGET_BASELINE_RATIO}",
                f"{ratio:.2f}", ratio <= TARGET_BASELINE_RATIO)
    if "peer_per_pair" in cc and "cold_per_pair" in cc:
        peer, cold = cc["peer_per_pair"].u, cc["cold_per_pair"].u
        row("peer down and up per (FEC, router) pair, against a cold-start pair",
            f"≤ {cold:.1f} u", f"{peer:.1f} u", peer <= cold)
    total = memory_everything(comp)
    if total is not None:
        row("tracked bytes per (FEC, router) pair, everything (inputs, stages, notifiers)",
            f"{TARGET_BYTES_PER_PAIR} B", f"{total:.0f} B", total <= TARGET_BYTES_PER_PAIR)
    rss = comp.peak_rss_kib() / 1024
    row("peak resident size of the process", f"{TARGET_PEAK_RSS_MIB} MiB", f"{rss:.0f} MiB",
        rss <= TARGET_PEAK_RSS_MIB)
    if hand:
        hc = costs(hand)
        for title, keys in (("stages 1 to 4 alone", STAGES_1_TO_4),
                            ("end to end", [k for k, _, _, _ in ROWS
                                            if k != "audit" and k not in STAGES_1_TO_4])):
            ratios = [(cc[k].u / hc[k].u, cc[k].ns / hc[k].ns,
                       what.removeprefix("stages 1 to 4 alone: "))
                      for k, what, _, _ in ROWS if k in keys and k in cc and k in hc]
            if not ratios:
                continue
            worst = max(ratios)
            row(f"compiled ÷ hand-written, {title}: worst case ({worst[2]})",
                f"≤ {TARGET_VARIANT_RATIO}", f"{worst[0]:.2f} in u ({worst[1]:.2f} in ns)",
                worst[0] <= TARGET_VARIANT_RATIO)
    return lines


def plot(runs, path):
    import matplotlib

    matplotlib.use("Agg")
    import matplotlib.pyplot as plt

    series = [
        ("binding", "peer binding change"),
        ("local", "local label change"),
        ("link", "link down or up"),
        ("peer_per_pair", "peer down+up, per pair"),
        ("flap_per_fec", "link flap, per FEC of the peer"),
        ("build", "incremental build, per change"),
        ("cold_per_pair", "cold start, per pair"),
    ]
    fig, ax = plt.subplots(figsize=(9, 5.5))
    colors = plt.rcParams["axes.prop_cycle"].by_key()["color"]
    for i, (key, title) in enumerate(series):
        for mode, style in (("compiled", "-o"), ("hand-written", "--s")):
            xs, ys = [], []
            for profile in PROFILE_ORDER:
                run = runs.get((mode, profile))
                pairs = shape_of(runs, profile)
                if not run or pairs is None:
                    continue
                c = costs(run)
                if key in c:
                    xs.append(pairs)
                    ys.append(c[key].u)
            if xs:
                ax.plot(xs, ys, style, color=colors[i % len(colors)],
                        label=f"{title} ({mode})", markersize=4, linewidth=1.2)
    ax.set_xscale("log")
    ax.set_yscale("log")
    ax.set_xlabel("(FEC, router) pairs in the topology (small, medium, large)")
    ax.set_ylabel("cost in u (unordered_map insert + find + erase)")
    ax.set_title("Quill pipeline: cost per change against scale")
    ax.grid(True, which="both", alpha=0.3)
    ax.legend(fontsize=7, ncol=2)
    fig.tight_layout()
    fig.savefig(path, dpi=120)


def ordered(runs):
    return sorted(runs.items(), key=lambda kv: (
        PROFILE_ORDER.index(kv[0][1]) if kv[0][1] in PROFILE_ORDER else 9, kv[0][0]))


def context_lines(runs):
    ctx = next(iter(runs.values())).context
    units = [case["u_ns"] for run in runs.values() for case in run.cases.values()
             if "u_ns" in case]
    lines = [
        f"- Machine: {ctx.get('num_cpus', '?')} CPUs at {ctx.get('mhz_per_cpu', '?')} MHz "
        f"(host `{ctx.get('host_name', '?')}`), shared with other work; load averages when each "
        "run started: " + "; ".join(
            f"{m} {p} {', '.join(f'{x:.2f}' for x in r.context.get('load_avg', []))}"
            for (m, p), r in ordered(runs)) + ".",
        f"- Build: {ctx.get('quill_build', 'unknown')} (as CMake configured it); Google "
        "Benchmark from Debian's package. Runs of "
        + ", ".join(sorted({r.context.get("date", "?")[:10] for r in runs.values()})) + ".",
    ]
    if units:
        lines.append(
            f"- u: every cost is divided by the unit measured right after its case in the same "
            f"process (best of three rounds of 100,000 triples); over this run those units "
            f"ranged from {min(units):.0f} to {max(units):.0f} ns.")
    rounds = max(len(r.rounds) for r in runs.values())
    lines.append(
        f"- Rounds: every stage variant and profile ran in {rounds} separate process(es), the "
        "variants alternating; each figure is the median over the rounds (a cost in u is the "
        "median of its per-round values), the peak resident size the largest.")
    lines.append(
        "- The calibration case on its own, first and last in each process (ns): " + "; ".join(
            f"{m} {p} {', '.join(f'{x:.0f}' for x in r.calibrations())}"
            for (m, p), r in ordered(runs)) + ".")
    return lines


def markdown(runs, problems, plot_name, sizes_path=None):
    out = []
    out.append("# Performance")
    out.append("")
    out.append("Generated by `scripts/bench` (`quill_pipeline_benchmark`, bench/report.py); do "
               "not edit by hand. Every figure below comes from that one run of the suite.")
    out.append("")
    out.append("Costs are CPU time of the benchmark thread. Each is also given in **u**, the "
               "cost of one insert, one find and one erase on a `std::unordered_map<uint64_t, "
               "uint64_t>` of 100,000 entries, measured in the same process right after the "
               "case, so that figures from different machines or loads compare. \"compiled\" "
               "runs every stage in its default variant (compiled from dataflow rules); "
               "\"hand-written\" runs with `QUILL_TOGGLES=MplsFluxInversion=off,"
               "MplsFluxConcat=off,MplsFluxIntfRouterSm=off,MplsFluxRouterIpNexthop=off`. "
               "The feature toggles are read once per process, so the two variants ran in "
               "separate processes; their ratio is given in u (each cost in its own unit) and, "
               "in parentheses, in plain time.")
    out.append("")
    out.append("The **baseline** is the same end-to-end rule written without the framework "
               "(bench/baseline/: plain records, open-addressing tables sized ahead, the same "
               "hash ring), fed the same changes in the same process, its LFIB checked equal to "
               "Quill's after the build and around one change of each kind. \"Quill ÷ "
               "baseline\" is the library's CPU time over the baseline's for the same case in "
               "the same process (and, under Memory, its bytes over the baseline's), so it does "
               "not depend on the machine.")
    out.append("")
    out.extend(context_lines(runs))
    out.append("")
    out.append("## Topologies")
    out.append("")
    out.append("`Sim::Topology` (sim/Topology.h): downstream peers, each over 4 parallel links "
               "(one via per link towards its loopback, all links MPLS-enabled), and p2mp FECs "
               "each bound by 4 peers spread evenly, each with one local label. The full LFIB "
               "has one branch per (FEC, router) pair.")
    out.append("")
    out.append("| Profile | peers | links | FECs | (FEC, router) pairs = LFIB branches |")
    out.append("|---|--:|--:|--:|--:|")
    for profile in PROFILE_ORDER:
        t = topology_of(runs, profile)
        if t is None:
            continue
        out.append(f"| {profile} | {t['peers']:,.0f} | {t['links']:,.0f} | {t['fecs']:,.0f} "
                   f"| {t['pairs']:,.0f} |")
    out.append("")
    out.append("## Targets")
    out.append("")
    out.extend(targets(runs))
    out.append("")
    out.append("## Cost per change")
    out.append("")
    out.append("Every changing case undoes its change in the same iteration (binding removed "
               "and added back, label changed and changed back, link down and up, peer down and "
               "up), so each iteration starts from the full topology; iterations rotate over "
               "peers, links and FECs. \"recomputation ÷ cost\" is how many such changes cost as "
               "much as one from-scratch recomputation of every stage by the audit.")
    out.append("")
    out.append("The two variants differ only in stages 1 to 4, which see a handful of entries "
               "per peer; in the end-to-end cases the later stages (FEC next-hop selection, "
               "LFIB) do nearly all the work, so there the compiled ÷ hand-written ratio mostly "
               "shows the measurement's noise (a peer binding or a local label never reaches "
               "stages 1 to 4 at all). The rows \"stages 1 to 4 alone\" run the same link flap "
               "and the peer's address and route changes over an agent in which only the "
               "resolution reactors and stages 1 to 4 exist (the route changes include the "
               "simulated routing service's own work, the same in both variants).")
    for profile in PROFILE_ORDER:
        if not any((m, profile) in runs for m in MODES):
            continue
        out.append("")
        out.append(f"### {profile}")
        out.append("")
        out.extend(cost_table(runs, profile))
        extra = extra_counters(runs, profile)
        if extra:
            out.append("")
            out.extend(extra)
    out.append("")
    out.append(f"![cost per change against scale]({plot_name})")
    out.append("")
    out.append("## Memory")
    out.append("")
    out.append("A stopped agent is filled with the topology, then the reactors are created one "
               "at a time over its collections in pipeline order (the inversion, the resolution "
               "requests and results it drives, stages 2 to 7, the label binding notifiers); "
               "each part's figure is the growth of `Vox::Memory::totalLiveBytes()` while it "
               "was created and caught up, so it counts the reactor's own state and its output "
               "collection. Only framework allocations are tracked (the simulated routing "
               "table's `std::map` is not); the peak resident size covers everything the "
               "process held, the inputs and the topology built for the other cases included. "
               "The baseline's figure is every byte it allocates once the topology is applied: "
               "its tables (sized for the topology), its records and its hash rings.")
    out.append("")
    out.extend(memory_table(runs))
    if out[-1]:
        out.append("")
    out.extend(sizes_table(sizes_path))
    if problems:
        out.append("")
        out.append("## Problems in this run")
        out.append("")
        out.extend(f"- {p}" for p in problems)
    out.append("")
    return "\n".join(out)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--results", required=True)
    parser.add_argument("--markdown", required=True)
    parser.add_argument("--plot", required=True)
    parser.add_argument("--sizes", help="quill_sizes' JSON, for the table of type sizes")
    args = parser.parse_args()
    runs, problems = load(args.results)
    if not runs:
        print(f"report: no results in {args.results}", file=sys.stderr)
        return 1
    plot(runs, args.plot)
    rel = os.path.relpath(args.plot, os.path.dirname(os.path.abspath(args.markdown)))
    with open(args.markdown, "w") as f:
        f.write(markdown(runs, problems, rel, args.sizes))
    for p in problems:
        print(f"report: {p}", file=sys.stderr)
    print(f"report: wrote {args.markdown} and {args.plot}", file=sys.stderr)
    return 0


if __name__ == "__main__":
    sys.exit(main())

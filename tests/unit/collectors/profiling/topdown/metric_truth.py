#!/usr/bin/env python3
"""The topdown metrics told a second time, to hold what the program computed against.

usage: metric_truth.py FILE...

A line of a file is a set of counters and what came of it: name=bits of a float in hexadecimal for each counter, "|",
name=text for each metric, "|", the bottleneck. The text is the metric with four decimals. Says how many sets agree;
status 1 after the first that does not.
"""
import math
import sys
from ctypes import c_float, c_uint32

PIPELINE_WIDTH = 4
LIMITS = {"L1_Bound": 0.1, "DRAM_Bound": 0.1, "Store_Bound": 0.2, "Divider": 0.2, "Exe_Ports_Utilization": 0.2,
          "L1_ITBL_MISS": 0.1, "L2_ITBL_MISS": 0.1, "L1_ICache_MISS": 0.1, "L2_ICache_MISS": 0.1,
          "ALU_BRU_Ports_Utilized": 0.2, "LS_Ports_Utilized": 0.2, "FSU_Ports_Utilized": 0.2}
OTHER_LIMIT = 0.05


def single(value):
    """The nearest float. Of two floats, the double of each operation below is exact enough for that."""
    return c_float(value).value


def add(*terms):
    total = terms[0]
    for term in terms[1:]:
        total = single(total + term)
    return total


def sub(first, *terms):
    return add(first, *(-term for term in terms))


def mul(a, b):
    return single(a * b)


def div(a, b):
    if b != 0:
        return single(a / b)
    if a == 0 or math.isnan(a):
        return math.nan
    return math.copysign(math.inf, a) * math.copysign(1, b)


def metrics_of(e):
    """All metrics of these counters, in the order of their computing, which later ones rely on; None without cycles."""
    c = e["CPU_CYCLES"]
    if abs(c) < 2.0 ** -23:
        return {}
    slots = mul(c, PIPELINE_WIDTH)
    loads, stores, resource = e["memstall_anyload"], e["memstall_anystore"], e["resource_bound"]
    wrong, flush = e["BR_MIS_PRED"], e["ooo_flush_r4"]
    near_tlb = mul(sub(e["L2I_TLB"], e["L2I_TLB_REFILL"]), 15)
    far_tlb = mul(e["L2I_TLB_REFILL"], 100)
    near_cache = mul(sub(e["L2I_CACHE"], e["L2I_CACHE_REFILL"]), 15)
    far_cache = mul(e["L2I_CACHE_REFILL"], 100)
    frontend = div(e["fetch_bubble"], slots)
    latency = div(e["FetchBubbles_ExceedMIW"], slots)
    speculation = div(sub(e["INST_SPEC"], e["INST_RETIRED"]), slots)
    branches = mul(div(wrong, add(wrong, flush)), speculation)
    push = div(add(e["IF_BR_BL_SPEC"], e["IF_BP_PRED_BR_LP"]), wrong)
    pop = div(e["IF_BP_PRED_BR_RET"], wrong)
    retiring = div(e["INST_RETIRED"], slots)
    backend = sub(1.0, add(frontend, speculation, retiring))
    core = mul(div(sub(e["exe_stall_cycle"], loads, stores, resource), c), backend)
    divider, fsu = div(e["exe_stall_div"], c), div(e["fsu_stall"], c)
    l2 = div(sub(loads, e["memstall_L1miss"]), c)
    tree = {
        "Frontend_Bound": (frontend, {
            "Fetch_Latency": (latency, {
                "ITLB_Misses": (div(add(near_tlb, far_tlb), c), {
                    "L1_ITBL_MISS": (div(near_tlb, c), {}), "L2_ITBL_MISS": (div(far_tlb, c), {})}),
                "ICache_Misses": (div(add(near_cache, far_cache), c), {
                    "L1_ICache_MISS": (div(near_cache, c), {}), "L2_ICache_MISS": (div(far_cache, c), {})}),
                "BP_Misp_Flush": (div(mul(wrong, 5), c), {}),
                "OOO_Flush": (div(mul(flush, 5), c), {}),
                "SP_Flush": (div(mul(e["IF_BP_PRED_BR_SP"], 5), c), {})}),
            "Fetch_Bandwidth": (sub(frontend, latency), {})}),
        "Bad_Speculation": (speculation, {
            "Branch_Mispredicts": (branches, {
                "Indirect_Branch": (div(e["IF_BP_MISP_BR_IND"], wrong), {}),
                "Push_Branch": (push, {}), "Pop_Branch": (pop, {}),
                "Other_Branch": (sub(branches, push, pop), {})}),
            "Machine_Clears": (sub(speculation, branches), {
                "Nuke_Flush": (div(e["nuke_flush"], flush), {}),
                "Other_Flush": (div(sub(flush, e["nuke_flush"]), flush), {})})}),
        "Retiring": (retiring, {}),
        "Backend_Bound": (backend, {
            "Core_Bound": (core, {
                "Divider": (divider, {}), "FSU_Stall": (fsu, {}),
                "Exe_Ports_Utilization": (sub(core, divider, fsu), {
                    "ALU_BRU_Ports_Utilized": (div(e["alu_isq_stall"], c), {}),
                    "LS_Ports_Utilized": (div(e["lsu_isq_stall"], c), {}),
                    "FSU_Ports_Utilized": (div(e["fsu_isq_stall"], c), {})})}),
            "Memory_Bound": (mul(div(add(loads, stores), c), backend), {
                "L1_Bound": (div(add(loads, stores), c), {}),
                "L2_Bound": (0.0 if l2 < 0 else l2, {}),
                "DRAM_Bound": (div(e["memstall_L2miss"], c), {}),
                "Store_Bound": (div(stores, c), {})}),
            "Resource_Bound": (mul(div(resource, c), backend), {
                "Sync_Stall": (div(e["sync_stall"], c), {}),
                "Rob_Stall": (div(e["rob_stall"], c), {}),
                "Ptag_Stall": (div(add(e["Int_ptag_stall"], e["cc_ptag_stall"], e["vfp_ptag_stall"]), c), {}),
                "SaveOpQ_Stall": (div(e["saveop_queue_stall"], c), {}),
                "PC_buffer_stall": (div(e["pcbuf_stall"], c), {})})}),
    }
    return tree


def flat(tree, prefix=""):
    for name, (value, children) in tree.items():
        yield prefix + name, value
        yield from flat(children, prefix + name + ".")


def rank(item):
    name, (value, _) = item
    return (1, 0.0, name) if math.isnan(value) else (0, -value, name)


def counts(name, value, level):
    return level < 3 or value > single(LIMITS.get(name, OTHER_LIMIT))


def bottleneck_of(tree, prefix="", level=1):
    """A child that counts has a parent that does, since the search comes from there."""
    among = {name: node for name, node in tree.items() if counts(name, node[0], level)}
    if not among:
        return ""
    name, (_, children) = min(among.items(), key=rank)
    return bottleneck_of(children, prefix + name + ".", level + 1) or prefix + name


def text_of(value):
    return "nan" if math.isnan(value) else f"{value:.4f}"


def check_sums(values):
    """What must hold beside the formulas, within what four roundings take."""
    def near(whole, *parts):
        scale = max(1.0, abs(whole), *map(abs, parts))
        return not all(map(math.isfinite, (whole, *parts))) or abs(whole - sum(parts)) <= 4 * 2.0 ** -23 * scale

    wholes = (("Frontend_Bound", "Fetch_Latency", "Fetch_Bandwidth"),
              ("Bad_Speculation", "Branch_Mispredicts", "Machine_Clears"))
    return near(1.0, *(values[name] for name in ("Frontend_Bound", "Bad_Speculation", "Retiring", "Backend_Bound"))) \
        and all(near(values[whole], *(values[f"{whole}.{part}"] for part in parts)) for whole, *parts in wholes)


def pairs(text):
    return dict(pair.split("=") for pair in text.split())


def fault_of(line):
    """What is wrong with a line, or nothing."""
    events, metrics, bottleneck = line.rstrip("\n").split("|")
    events = {name: c_float.from_buffer(c_uint32(int(bits, 16))).value for name, bits in pairs(events).items()}
    tree = metrics_of({name: events.get(name, 0.0) for name in EVENTS})
    values = dict(flat(tree))
    expected = {name: text_of(value) for name, value in values.items()}
    found = pairs(metrics)
    if expected != found:
        differing = sorted(name for name in {*expected, *found} if expected.get(name) != found.get(name))
        return "".join(f"\n  {name}: {found.get(name)}, not {expected.get(name)}" for name in differing)
    if tree and not check_sums(values):
        return "parts that are not the whole"
    best = bottleneck_of(tree)
    return "" if best == bottleneck else f"bottleneck {bottleneck}, not {best}"


EVENTS = """INST_RETIRED BR_MIS_PRED CPU_CYCLES INST_SPEC L2I_CACHE L2I_CACHE_REFILL L2I_TLB_REFILL L2I_TLB
IF_BP_PRED_BR_SP IF_BP_PRED_BR_RET IF_BP_MISP_BR_IND IF_BR_BL_SPEC IF_BP_PRED_BR_LP rob_stall pcbuf_stall Int_ptag_stall
cc_ptag_stall vfp_ptag_stall alu_isq_stall lsu_isq_stall fsu_isq_stall sync_stall ooo_flush_r4 nuke_flush fetch_bubble
FetchBubbles_ExceedMIW saveop_queue_stall resource_bound exe_stall_cycle exe_stall_div fsu_stall memstall_anyload
memstall_anystore memstall_L1miss memstall_L2miss""".split()


def main(names):
    sets = 0
    for name in names:
        with open(name, encoding="ascii") as lines:
            for line in lines:
                fault = fault_of(line)
                if fault:
                    print(f"{line.split('|')[0]}: {fault}")
                    return 1
                sets += 1
    print(f"{sets} sets agree")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))

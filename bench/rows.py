"""The comparisons, with their bars and stretch goals.

A row names a subject and its reference among the benches of VoBgpBench. `bar` is the required and
`stretch` the desired result, in the unit of its measure:

    time     time of the subject divided by that of the reference; lower is better
    speed    the inverse: how many times faster the subject is; higher is better
    threads  operations a second of two threads divided by those of one; higher is better
    longest  microseconds of the longest single operation; lower is better
    octets   octets of resident memory for each object; lower is better
"""

import dataclasses

MODES = {"threadSafe": "thread-safe", "plain": "plain"}
KINDS = ("standard", "large", "extended", "ipv6")
MEMBERS = (1, 8, 32)

HIGHER_IS_BETTER = ("speed", "threads")
FIGURES = ("longest", "octets")


@dataclasses.dataclass(frozen=True)
class Row:
    work: str
    case: str
    measure: str
    subject: str
    reference: str | None
    bar: float | None
    stretch: float | None
    # Not part of a quick run.
    slow: bool = False


def size(count):
    return f"10^{len(str(count)) - 1}"


def value_hit_rows():
    bars = {
        "threadSafe": {1000: (1.4, 1.15), 100_000: (1.6, 1.4), 1_000_000: (1.8, 1.5)},
        "plain": {1000: (4, 3.2), 100_000: (2.5, 2), 1_000_000: (2.2, 1.8)},
    }
    for mode, reference in (("threadSafe", "limA"), ("plain", "limP")):
        text = MODES[mode]
        for count, (bar, stretch) in bars[mode].items():
            name = f"valueHit/{mode}/{{}}/{count}"
            yield Row(
                f"hit of one value, {text}, against {reference}",
                f"{size(count)} values",
                "time",
                name.format("library"),
                name.format(reference),
                bar,
                stretch,
                slow=count > 100_000,
            )
        for count in (100_000, 1_000_000):
            name = f"valueHit/{mode}/{{}}/{count}"
            yield Row(
                f"hit of one value, {text}, against flyweight with the same locking",
                f"{size(count)} values",
                "speed",
                name.format("library"),
                name.format("flyweight"),
                2.5,
                3,
                slow=count > 100_000,
            )


def thread_rows():
    yield Row(
        "two threads, distinct values, throughput of two against one",
        "10^5 values",
        "threads",
        "valueHit/twoThreads/library/100000",
        None,
        1.5,
        1.8,
    )
    yield Row(
        "two threads, one hot value, against limA on two threads",
        "1 value",
        "time",
        "hotValue/library",
        "hotValue/limA",
        1.6,
        1.25,
    )
    yield Row(
        "two threads, distinct new values, throughput of two against one",
        "among 10^5",
        "threads",
        "valueMiss/twoThreads/library/100000",
        None,
        1.4,
        1.7,
    )


def value_miss_rows():
    for mode, text in MODES.items():
        yield Row(
            "miss, parse, insert, release, destroy, against flyweight with its default lock",
            f"{text}, among 10^5",
            "time",
            f"valueMiss/{mode}/library/100000",
            "valueMiss/threadSafe/flyweight/100000",
            1,
            0.67,
        )


def list_rows():
    for kind, bar, stretch in (("standard", 1.2, 1), ("extended", 2.5, 1.5)):
        for members in MEMBERS:
            name = f"listHit/plain/{kind}/{{}}/{members}"
            yield Row(
                f"{kind} list, already there, separate calls, plain, "
                "against flyweight of a vector without lock",
                f"{members} members",
                "time",
                name.format("library"),
                name.format("flyweight"),
                bar,
                stretch,
            )
    for mode, text in MODES.items():
        for kind in KINDS:
            for members in MEMBERS:
                name = f"listFromOctets/{mode}/{kind}/{{}}/{members}"
                yield Row(
                    f"{kind} list, already there, one call from its octets, {text}, against limL",
                    f"{members} members",
                    "time",
                    name.format("library"),
                    name.format("limL"),
                    1.6,
                    1.25,
                )
    for kind, bar, stretch in (("standard", 1, 0.5), ("extended", 2, 1)):
        yield Row(
            f"new {kind} list, one call from its octets, then released, plain, "
            "against flyweight of a vector without lock",
            "8 members, among 10^4",
            "time",
            f"newListFromOctets/plain/{kind}/library/8",
            f"listMiss/plain/{kind}/flyweight/8",
            bar,
            stretch,
        )


def observer_rows():
    for name, text in (
        ("routeTargetChurn", "a route target coming and going"),
        ("routeTargetListChurn", "a list of 4 route targets and 4 others coming and going"),
    ):
        for others in (1000, 100_000):
            yield Row(
                f"{text}, against itself without observers",
                f"among {size(others)}",
                "time",
                f"{name}/observed/{others}",
                f"{name}/unobserved/{others}",
                2,
                1.3,
            )


def text_rows():
    bars = {"standard": (1.5, 1.2), "large": (1.5, 1.2), "extended": (3, 1.8), "ipv6": (3, 1.8)}
    for kind, (bar, stretch) in bars.items():
        yield Row(
            f"text of a list, {kind}, against a loop of to_chars into a new string",
            "8 members",
            "time",
            f"listText/{kind}/library/8",
            f"listText/{kind}/toChars/8",
            bar,
            stretch,
        )
    for kind in bars:
        yield Row(
            f"path attribute of a list, {kind}, against a header and a copy into a new string",
            "8 members",
            "time",
            f"listAttribute/{kind}/library/8",
            f"listAttribute/{kind}/copy/8",
            1.6,
            1.2,
        )
    for outcome, text in (("match", "that matches"), ("noMatch", "that does not match")):
        for kind in ("standard", "extended"):
            yield Row(
                f"regular expression {text} on the same {kind} list again, against regexec",
                "8 members",
                "speed",
                f"listRegex/{outcome}/{kind}/8",
                f"listRegex/{outcome}/regexec/8",
                20,
                50,
            )


def figure_rows():
    for count in (1_000_000, 10_000_000):
        for subject, text in (
            ("values", "values"),
            ("routeTargets", "route targets"),
            ("lists", "standard lists of 4"),
        ):
            for mode, mode_text in MODES.items():
                yield Row(
                    f"longest insertion or release while {text} come and go, {mode_text}",
                    f"{size(count)}",
                    "longest",
                    f"longestPause/{subject}/{mode}/{count}",
                    None,
                    200,
                    50,
                    slow=count > 1_000_000,
                )
    for subject, text, bar, stretch in (
        ("value", "memory for an extended community, table and all", 80, 64),
        ("routeTarget", "memory for a route target, table and observers' list and all", 80, 64),
        ("extendedListOf8", "memory for an extended list of 8, sub-lists shared", 300, 240),
    ):
        yield Row(
            text, "10^6", "octets", f"octets/{subject}/1000000", None, bar, stretch
        )


ROWS = [
    *value_hit_rows(),
    *thread_rows(),
    *value_miss_rows(),
    *list_rows(),
    *observer_rows(),
    *text_rows(),
    *figure_rows(),
]


@dataclasses.dataclass(frozen=True)
class Counted:
    """An operation and a reference whose instructions are counted."""

    work: str
    subject: str
    reference: str | None
    operations: int


# How often valgrind executes an operation: the slower, the fewer.
HIT, SOME, FEW = 20_000, 4_000, 1_000


def counted_values():
    for mode, text in MODES.items():
        name = f"valueHit/{mode}/{{}}/1000"
        reference = "limP" if mode == "plain" else "limA"
        yield Counted(f"value hit, {text}", name.format("library"), name.format(reference), HIT)
    for mode, text in MODES.items():
        yield Counted(
            f"value miss and release, {text}",
            f"valueMiss/{mode}/library/1000",
            "valueMiss/threadSafe/flyweight/1000",
            SOME,
        )


def counted_lists():
    for mode, text in MODES.items():
        for kind in ("standard", "extended"):
            for members in MEMBERS:
                flyweight = f"listHit/plain/{kind}/flyweight/{members}"
                yield Counted(
                    f"{kind} list hit, {members} members, separate calls, {text}",
                    f"listHit/{mode}/{kind}/library/{members}",
                    flyweight if mode == "plain" else None,
                    FEW,
                )
    for mode, text in MODES.items():
        for kind in KINDS:
            for members in MEMBERS:
                name = f"listFromOctets/{mode}/{kind}/{{}}/{members}"
                yield Counted(
                    f"{kind} list hit, {members} members, one call, {text}",
                    name.format("library"),
                    name.format("limL"),
                    SOME,
                )
    for kind in ("standard", "extended"):
        for work, calls in (("listMiss", "separate calls"), ("newListFromOctets", "one call")):
            yield Counted(
                f"new {kind} list and its release, 8 members, {calls}, plain",
                f"{work}/plain/{kind}/library/8",
                f"listMiss/plain/{kind}/flyweight/8",
                FEW,
            )


def counted_texts():
    for work, text, reference in (
        ("listText", "text", "toChars"),
        ("listAttribute", "path attribute", "copy"),
    ):
        for kind in KINDS:
            name = f"{work}/{kind}/{{}}/8"
            yield Counted(
                f"{text} of a list of 8, {kind}",
                name.format("library"),
                name.format(reference),
                FEW,
            )
    for kind in ("standard", "extended"):
        yield Counted(
            f"regular expression on the same list again, {kind}",
            f"listRegex/match/{kind}/8",
            "listRegex/match/regexec/8",
            FEW,
        )


def counted_observers():
    yield Counted(
        "route target coming and going, observed",
        "routeTargetChurn/observed/1000",
        "routeTargetChurn/unobserved/1000",
        FEW,
    )
    yield Counted(
        "list of route targets coming and going, observed",
        "routeTargetListChurn/observed/1000",
        "routeTargetListChurn/unobserved/1000",
        FEW,
    )


COUNTED = [*counted_values(), *counted_lists(), *counted_texts(), *counted_observers()]

"""Pretty-printers for gdb: counted pointers, strings, communities, lists and tables.

Installed beside the platform library as libVoBgpPlatform.so.VERSION-gdb.py, where gdb finds it if the
folder is one of its auto-load safe paths. Of a program that links the archives, `source` this file.

Whatever is damaged is printed as far as it can be read: no printer raises an exception.
"""

import ipaddress
import re

import gdb
import gdb.printing

USERS_MASK, FLOOR_SHIFT, FLOOR_MASK = (1 << 37) - 1, 37, 63  # Mox::CountWord
STATE_SHIFT, STATE_MASK = 43, 7
STATES = {1: "interned", 2: "being detached", 3: "left its table", 4: "from a store"}
BUCKET_OCTETS, BUCKET_WORDS = 64, 8  # Kel::SlotBucket; the first word is not a slot
# The tables of an agent, and where each has the framework's table.
TABLES = {
    "Routing::Bgp::BasicDedupTable_": "dedupHashTable_",
    "Routing::Bgp::CommListDedupTableBase": "dedupTable_",
    "Routing::Bgp::ExtCommDedupTable": "dedupHashTable_",
}
SUBTYPES = {2: "rt", 3: "ro"}


def unqualified(value):
    return value.type.strip_typedefs().unqualified()


def has_base(kind, name):
    """Whether a class has this name (without template arguments) or derives from one that has."""
    if kind.code != gdb.TYPE_CODE_STRUCT:
        return False
    return (kind.name or "").split("<")[0] == name or any(
        has_base(field.type.strip_typedefs(), name) for field in kind.fields() if field.is_base_class
    )


def limit():
    return gdb.parameter("print elements") or 1 << 32


def elements(vector):
    """Returns the elements of a Mox::CompactVector to print, and the number of all elements."""
    size = int(vector["size_"])
    return [vector["elements_"][index] for index in range(min(size, limit()))], size


def eight_octets(community):
    kind, subtype = community >> 56, community >> 48 & 0xFF
    if kind <= 2 and subtype in SUBTYPES:
        if kind == 0:
            text = f"{community >> 32 & 0xFFFF}:{community & 0xFFFFFFFF}"
        elif kind == 1:
            text = f"{ipaddress.IPv4Address(community >> 16 & 0xFFFFFFFF)}:{community & 0xFFFF}"
        else:
            text = f"{community >> 16 & 0xFFFFFFFF}L:{community & 0xFFFF}"
        return f"{SUBTYPES[subtype]} {text}"
    return f"0x{community:016x}"


def twenty_octets(content):
    kind, subtype = int(content["type_"]), int(content["subtype_"])
    array = content["addr_"]["octets_"]
    octets = array[array.type.fields()[0]]
    address = ipaddress.IPv6Address(bytes(int(octets[index]) for index in range(16)))
    known = kind == 0 and subtype in SUBTYPES
    name = SUBTYPES[subtype] if known else f"0x{kind:02x}{subtype:02x}"
    return f"{name} [{address}]:{int(content['localAdmin_'])}"


def large(value):
    parts = ("globalAdministrator_", "localData1_", "localData2_")
    return ":".join(str(int(value[part])) for part in parts)


def member(value):
    """Returns the text of a member of a list."""
    kind = unqualified(value)
    if kind.code == gdb.TYPE_CODE_INT:
        return f"{int(value) >> 16}:{int(value) & 0xFFFF}"
    if has_base(kind, "Mox::Ptr"):
        if int(value["object_"]) == 0:
            return "null"
        return content(most_derived(value["object_"]))
    return large(value)


def pointer_in(value, target):
    """Returns the pointer to `target` in a std::unique_ptr or std::atomic."""
    return value.address.cast(gdb.lookup_type(target).pointer().pointer()).dereference()


def table_slots(table):
    """Yields the slots of each shard of a Kel::DedupHashTable."""
    core = table["core_"].dereference()
    shards = pointer_in(core["shards_"], "Kel::DedupTableCore::Shard")
    return [shards[index]["slots"] for index in range(int(core["shardCount_"]))]


def objects(table):
    """Yields pointers to the objects in a Kel::DedupHashTable, in no particular order."""
    handle = gdb.lookup_type("Kel::DedupHandle").pointer()
    for slots in table_slots(table):
        # current_ is a SlotArray::Reference: the address of the buckets, and a number below it.
        current = int(slots["current_"].address.cast(handle.pointer()).dereference())
        previous = int(pointer_in(slots["previous_"], "Kel::SlotArray"))
        for buckets in (current & -BUCKET_OCTETS, previous and previous + BUCKET_OCTETS):
            if buckets:
                array = gdb.Value(buckets - BUCKET_OCTETS)
                array = array.cast(gdb.lookup_type("Kel::SlotArray").pointer())
                words = gdb.Value(buckets).cast(handle.pointer())
                for index in range(BUCKET_WORDS << 32 - int(array["shift_"])):
                    if index % BUCKET_WORDS and int(words[index]):
                        yield words[index]


def table_size(table):
    count = sum(int(slots["size_"]) for slots in table_slots(table))
    return f"{count} object{'' if count == 1 else 's'}"


def content(value):
    """Returns the content of a counted object as text; empty for other classes."""
    kind = unqualified(value)
    if has_base(kind, "Routing::Bgp::ExtComm"):
        return eight_octets(int(value["extCommContent_"]["community_"]))
    if has_base(kind, "Routing::Bgp::ExtCommIp6"):
        return twenty_octets(value["content_"])
    for base in ("Routing::Bgp::ValueCommList", "Routing::Bgp::ExtCommMembers"):
        if has_base(kind, base):
            members, size = elements(value["commVector_"])
            more = [f"... {size} in all"] if size > len(members) else []
            return f"[{', '.join([member(each) for each in members] + more)}]"
    if has_base(kind, "Kel::DedupHashTable"):
        return table_size(value)
    for base, field in TABLES.items():
        if has_base(kind, base):
            pointer = value[field]["object_"]
            return table_size(pointer.dereference()) if int(pointer) else "no table"
    return ""


def most_derived(pointer):
    """Returns the object that a pointer refers to, cast to its dynamic class. Raises ValueError if it
    has no vtable: the pointer is dangling, or the object damaged."""
    address = int(pointer)
    start = int(gdb.Value(address).cast(gdb.lookup_type("unsigned long").pointer()).dereference())
    if "vtable for" not in gdb.execute(f"info symbol {start}", to_string=True):
        raise ValueError(f"no object at 0x{address:x}")
    return pointer.cast(pointer.dynamic_type).dereference()


def counted(value):
    """Returns the text of a counted object, given as its dynamic class."""
    word = int(value["word_"]["word_"])
    state = STATES.get(word >> STATE_SHIFT & STATE_MASK)
    references = (word & USERS_MASK) + (word >> FLOOR_SHIFT & FLOOR_MASK)
    name = re.sub(r"\b(\w+::)+", "", unqualified(value).name)
    parts = [content(value), f"refs {references}", state]
    return f"{name}({', '.join(part for part in parts if part)})"


def pointee(pointer):
    if int(pointer) == 0:
        return "null"
    return counted(most_derived(pointer))


def string(value):
    rep = int(value["rep_"])
    if rep == 0:
        return ""
    # Mox::String::Rep: the references, the size, the octets.
    inferior = gdb.selected_inferior()
    size = int.from_bytes(inferior.read_memory(rep + 8, 8), "little")
    octets = bytes(inferior.read_memory(rep + 16, min(size, limit())))
    return octets.decode(errors="backslashreplace") + ("..." if size > len(octets) else "")


class Printer:
    """Prints a value as the text that a function returns."""

    def __init__(self, value, text):
        self.value, self.text = value, text

    def to_string(self):
        try:
            return self.text(self.value)
        except (gdb.error, ValueError, OverflowError, RuntimeError) as problem:
            return f"<damaged: {problem}>"


class StringPrinter(Printer):
    def display_hint(self):
        return "string"


class ObjectsPrinter(Printer):
    """A table, with its objects."""

    def children(self):
        try:
            for index, pointer in enumerate(objects(self.value)):
                yield str(index), pointee(pointer)
        except (gdb.error, ValueError, OverflowError, RuntimeError) as problem:
            yield "damaged", str(problem)


class ElementsPrinter(Printer):
    """A vector, with its elements."""

    def display_hint(self):
        return "array"

    def children(self):
        for index in range(int(self.value["size_"])):
            yield str(index), self.value["elements_"][index]


class Printers(gdb.printing.PrettyPrinter):
    """Returns the printer of a value, or None."""

    def __init__(self):
        super().__init__("VoBgpCommunity")

    def __call__(self, value):
        kind = unqualified(value)
        if kind.code != gdb.TYPE_CODE_STRUCT or not kind.name:
            return None
        name = kind.name.split("<")[0]
        if name == "Mox::Ptr":
            return Printer(value, lambda pointer: pointee(pointer["object_"]))
        if name == "Mox::String":
            return StringPrinter(value, string)
        if name == "Mox::CompactVector":
            return ElementsPrinter(value, lambda vector: f"{int(vector['size_'])} elements")
        if name == "Acl::CommunityValue":
            return Printer(value, large)
        if name == "Routing::Bgp::ExtCommContent":
            return Printer(value, lambda each: eight_octets(int(each["community_"])))
        if name == "Routing::Bgp::ExtCommIp6Content":
            return Printer(value, twenty_octets)
        if has_base(kind, "Kel::DedupHashTable"):
            return ObjectsPrinter(value, counted)
        if has_base(kind, "Mox::PtrInterface") and name.startswith("Routing::Bgp::"):
            return Printer(value, lambda each: pointee(each.address) if each.address else counted(each))
        return None


gdb.printing.register_pretty_printer(gdb.current_objfile(), Printers(), replace=True)

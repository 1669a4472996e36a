"""GDB pretty printers for the types of libmivo_data.

GDB loads this file by itself when the library lies under the system's prefix; otherwise, once:
(gdb) source PREFIX/share/mivo/gdb/mivo_printers.py

What is printed is read from memory by the layout of the records, so the library needs no debug
information of its own; the program that is debugged does. Nothing of the program is called. Memory
that does not hold what it should (a record that has been freed, an overwritten count) is named as
such: nothing here throws, and every text, list and nesting is cut off at a stated length.
"""

import gdb
import gdb.printing

MAX_TEXT = 200  # characters of one text
MAX_MEMBERS = 200  # elements of one list
MAX_DEPTH = 4  # lists in lists, printed in one line
MAX_COUNT = 1 << 24  # more handles or elements than this are taken for broken memory

ARG_KINDS = (
    "None Char UChar Int UInt Int64 UInt64 Float Double String StringList Bool Pointer PointerList "
    "Plugin Field FieldList XmlNode Buddy BuddyResource Account PluginAction Presence "
    "GuiEventsReceiver VideoClip ArgList Service ServiceList Undefined"
).split()
BUDDY_KINDS = "Invalid Group Meta Contact Merged Temporary Other".split()
FIELD_KINDS = {
    0: "None", 1: "ComboBox", 2: "CheckBox", 3: "RadioButton", 4: "LineEdit", 9: "TextEdit",
    10: "SpinBox", 11: "DoubleSpinBox", 12: "Label", 13: "Image", 14: "Button",
}
SECRET_KIND = 8  # the hosts' convention for passwords


class Broken(Exception):
    """Memory that does not hold what it should."""


# --- Memory ---------------------------------------------------------------------------------------


def read(address, size):
    if address == 0:
        raise Broken("a null where memory should be")
    try:
        return gdb.selected_inferior().read_memory(address, size).tobytes()
    except (gdb.MemoryError, OverflowError, gdb.error):
        raise Broken("cannot read memory at 0x%x" % address) from None


def unsigned(address, size=8):
    return int.from_bytes(read(address, size), "little")


def signed(address, size=4):
    return int.from_bytes(read(address, size), "little", signed=True)


def scalar(address, type_name):
    return gdb.Value(read(address, gdb.lookup_type(type_name).sizeof), gdb.lookup_type(type_name))


def count(number, what):
    if not 0 <= number <= MAX_COUNT:
        raise Broken("%s of %d" % (what, number))
    return number


def is_qt6():
    """From Qt 6 on a string is three words, before it one."""
    return gdb.lookup_type("QString").sizeof == 24


def symbol_at(address):
    """The name of what stands at the address, as GDB writes it; the address where it has none."""
    try:
        pointer = gdb.Value(address).cast(gdb.lookup_type("void").pointer())
        return str(pointer)
    except gdb.error:
        return "0x%x" % address


# --- Qt's strings and containers ------------------------------------------------------------------


def array(address):
    """Where the elements of a string, a byte array or a QVector begin, and how many there are."""
    if is_qt6():
        return unsigned(address + 8), count(signed(address + 16, 8), "a length")
    header = unsigned(address)
    return header + signed(header + 16, 8), count(signed(header + 4), "a length")


def quoted(address):
    """The string at the address; a null one is named, so that it differs from an empty one."""
    begin, length = array(address)
    if length == 0:
        is_null = unsigned(address) == 0 and begin == 0 if is_qt6() else is_shared_null(address)
        return "null" if is_null else '""'
    text = read(begin, 2 * min(length, MAX_TEXT)).decode("utf-16-le", "replace")
    text = "".join(c if c.isprintable() else "\\u%04x" % ord(c) for c in text.replace("\\", "\\\\")
                   .replace('"', '\\"'))
    return '"%s"%s' % (text, "…" if length > MAX_TEXT else "")


def is_shared_null(address):
    """Qt 5 has one static header for all null strings, to which nothing else points."""
    try:
        null = gdb.lookup_global_symbol("QArrayData::shared_null")
        if null is not None:
            return unsigned(address) == int(null.value().address)
    except gdb.error:
        pass
    header = unsigned(address)
    # Static, of no length and no capacity, its data right behind it: that of null comes first.
    name = symbol_at(header)
    return "shared_null" in name


def elements(address, size, in_place):
    """The addresses of a QList's elements. Below Qt 6 only small movable ones lie in the list."""
    if is_qt6():
        begin, length = array(address)
        return [begin + i * size for i in range(length)]
    header = unsigned(address)
    first, last = signed(header + 8), signed(header + 12)
    count(first, "a list's begin")
    slots = [header + 16 + i * 8 for i in range(first, first + count(last - first, "a length"))]
    return slots if in_place else [unsigned(slot) for slot in slots]


def entries(address, value_size):
    """The addresses of keys and values of a hash from strings to something."""
    header = unsigned(address)
    if header == 0:
        return []
    key_size = gdb.lookup_type("QString").sizeof
    found = []
    if is_qt6():
        length = count(unsigned(header + 8), "a hash's length")
        buckets = count(unsigned(header + 16), "a hash's width")
        span_address = unsigned(header + 32)
        node = key_size + value_size
        for i in range((buckets + 127) // 128 if length else 0):
            span = span_address + i * 144
            offsets, nodes = read(span, 128), unsigned(span + 128)
            found += [nodes + offset * node for offset in offsets if offset != 0xFF]
    else:
        length = count(signed(header + 20), "a hash's length")
        buckets = count(signed(header + 32), "a hash's width")
        table = unsigned(header + 8)
        for i in range(buckets if length else 0):
            node = unsigned(table + i * 8)
            while node != header:
                found.append(node + 16)
                if len(found) > length:
                    raise Broken("a hash that is longer than its length of %d" % length)
                node = unsigned(node)
    if len(found) != length:
        raise Broken("a hash of %d that says it holds %d" % (len(found), length))
    return [(key, key + key_size) for key in found]


def vector(address, size):
    """The addresses of the elements of the standard library's vector."""
    begin, end = unsigned(address), unsigned(address + 8)
    return [begin + i * size for i in range(count((end - begin) // size, "a vector's length"))]


def pairs(address):
    """The addresses of the names and values of an element's attributes, in order."""
    text = gdb.lookup_type("QString").sizeof
    return [(place, place + text) for run in vector(address, 24) for place in vector(run, 2 * text)]


# --- Layouts --------------------------------------------------------------------------------------


class Layout:
    """Where the fields of a record lie: given as "name:kind", in the order of declaration."""

    def __init__(self, fields):
        self.fields = [field.split(":") for field in fields.split()]

    def at(self, address):
        """The addresses of the fields of the record there, by name, and its end as ``end``."""
        places, offset, widest = {}, 0, 1
        for name, kind in self.fields:
            size, alignment = extent(kind)
            offset = -(-offset // alignment) * alignment
            places[name] = address + offset
            offset += size
            widest = max(widest, alignment)
        places["end"] = address + -(-offset // widest) * widest
        return places

    def size(self):
        return self.at(0)["end"]


def extent(kind):
    """Size and alignment of a field of that kind, in bytes."""
    if kind in ("int", "enum"):
        return 4, 4
    if kind == "bool":
        return 1, 1
    if kind in ("word", "pointer", "handle"):
        return 8, 8
    if kind == "member":
        return 16, 8
    if kind == "buddy":
        return 16, 8
    if kind in ("string", "bytes", "list", "vector"):
        return gdb.lookup_type("QString").sizeof, 8
    if kind == "hash":
        return 8, 8
    return LAYOUTS[kind].size(), 8


LAYOUTS = {
    "arg": Layout("type:enum ref:int data:pointer"),
    "action": Layout("plugin:pointer member:member arguments:list"),
    "service": Layout("name:string display:string protocol:string action:action"),
    "presence": Layout("type:pointer description:string marker:bool"),
    "presence_type": Layout("display:string id:string icon:string priority:int flag:enum"),
    "resource": Layout("type:pointer presence:presence"),
    "resource_type": Layout("name:string icon:string"),
    "subscription": Layout("display:string id:string priority:int icon:string"),
    "clip": Layout("width:int height:int rate:int duration:word source:string"),
    "field": Layout(
        "ref:int type:enum label:string id:string group:string first:word second:word value:word "
        "items:list text:string action:action readOnly:bool visible:bool pressed:bool image:bytes"),
    "buddy_type": Layout(
        "ref:int id:string display:string presenceList:list presences:hash subscriptions:list "
        "extraInfoFields:list"),
    "buddy": Layout("ref:int display:string type:enum unread:int kind:pointer"),
    "group": Layout("children:list metas:hash"),
    "meta": Layout("children:list parent:buddy"),
    "contact": Layout(
        "account:pointer type:handle id:string presence:presence subscription:subscription "
        "resources:list resource:resource avatarPath:string parent:buddy extraInfo:hash attribs:hash"),
    "merged": Layout("parent:buddy contacts:list"),
    "temporary": Layout("account:pointer id:string presence:presence group:buddy resources:list"),
    "buffer": Layout(
        "size:word data:pointer ownsData:bool inUse:bool mutex:pointer condition:pointer id:int"),
    # A piece of text ends behind the flag.
    "xml": Layout(
        "previous:pointer next:pointer text:string isElement:bool ref:int parent:pointer "
        "first:pointer last:pointer attributes:word"),
    "ring": Layout("vtable:pointer buffers:vector nextIndex:int count:int size:int"),
}



def strings(address):
    return [quoted(e) for e in elements(address, gdb.lookup_type("QString").sizeof, True)]


def handles(address):
    return elements(address, 8, True)


def buddies(address):
    return elements(address, 16, False)


def records(address, layout):
    return elements(address, LAYOUTS[layout].size(), False)


# --- The texts of values --------------------------------------------------------------------------


def joined(texts, depth):
    """Elements in one line; those of a list that is nested too deep are only counted."""
    if depth > MAX_DEPTH:
        return "[%d]" % len(texts)
    shown = [text() if callable(text) else text for text in texts[:MAX_MEMBERS]]
    return "[%s%s]" % (", ".join(shown), ", …" if len(texts) > MAX_MEMBERS else "")


def safely(text, *arguments):
    """The text, or why there is none: what is broken in one place leaves the rest printed."""
    try:
        return text(*arguments)
    except Broken as broken:
        return "<broken: %s>" % broken
    except (gdb.error, RecursionError, ValueError, KeyError, OverflowError) as error:
        return "<cannot be shown: %s>" % error


def counted(record, field, what):
    """Refuses a record whose count of handles cannot be one."""
    handles_of_it = signed(field, 4)
    if not 0 < handles_of_it <= MAX_COUNT:
        raise Broken("%s at 0x%x counts %d handles; freed?" % (what, record, handles_of_it))


def of_list(addresses, text, depth):
    return joined([lambda a=a: safely(text, a, depth + 1) for a in addresses], depth)


def arg_text(address, depth=0):
    """The variant whose handle is at the address."""
    record = unsigned(address)
    if record == 0:
        return "MivoArg(None)"
    at = LAYOUTS["arg"].at(record)
    kind = signed(at["type"])
    counted(record, at["ref"], "a variant's record")
    if not 0 <= kind < len(ARG_KINDS):
        raise Broken("a variant's record at 0x%x of kind %d; freed?" % (record, kind))
    name, data = ARG_KINDS[kind], unsigned(at["data"])
    if name in ("None", "Undefined"):
        return "MivoArg(%s)" % name
    return "MivoArg(%s: %s)" % (name, safely(ARG_VALUES[name], data, depth))


def character(address, type_name):
    code = int(scalar(address, type_name))
    return "%d %r" % (code, chr(code)) if 32 <= code < 127 else "%d" % code


def number(type_name):
    return lambda address, depth: str(scalar(address, type_name).format_string())


def pointer(address, depth=0):
    return symbol_at(unsigned(address))


ARG_VALUES = {
    "Char": lambda a, depth: character(a, "char"),
    "UChar": lambda a, depth: character(a, "unsigned char"),
    "Int": number("int"),
    "UInt": number("unsigned int"),
    "Int64": number("long long"),
    "UInt64": number("unsigned long long"),
    "Float": number("float"),
    "Double": number("double"),
    "String": lambda a, depth: quoted(a),
    "StringList": lambda a, depth: joined(strings(a), depth),
    "Bool": lambda a, depth: "true" if unsigned(a, 1) else "false",
    "Pointer": pointer,
    "PointerList": lambda a, depth: joined([pointer(e) for e in handles(a)], depth),
    "Plugin": pointer,
    "Field": lambda a, depth: field_text(a, depth),
    "FieldList": lambda a, depth: of_list(handles(a), field_text, depth),
    "XmlNode": lambda a, depth: xml_text(a, depth),
    "Buddy": lambda a, depth: buddy_text(a, depth),
    "BuddyResource": lambda a, depth: resource_text(a, depth),
    "Account": pointer,
    "PluginAction": lambda a, depth: action_text(a, depth),
    "Presence": lambda a, depth: presence_text(a, depth),
    "GuiEventsReceiver": pointer,
    "VideoClip": lambda a, depth: clip_text(a),
    "ArgList": lambda a, depth: of_list(handles(a), arg_text, depth),
    "Service": lambda a, depth: service_text(a, depth),
    "ServiceList": lambda a, depth: of_list(records(a, "service"), service_text, depth),
}


def action_text(address, depth=0):
    at = LAYOUTS["action"].at(address)
    plugin, member = unsigned(at["plugin"]), unsigned(at["member"])
    if not plugin or not member:
        return "invalid action"
    # A pointer to a virtual member is its place in the table of the class, plus one.
    name = "virtual member %d" % (member // 8) if member & 1 else symbol_at(member)
    arguments = of_list(handles(at["arguments"]), arg_text, depth)
    return "%s of %s with %s" % (name, symbol_at(plugin), arguments)


def service_text(address, depth=0):
    at = LAYOUTS["service"].at(address)
    return "service %s (%s) for %s: %s" % (
        quoted(at["name"]), quoted(at["display"]), quoted(at["protocol"]),
        safely(action_text, at["action"], depth))


def presence_text(address, depth=0):
    at = LAYOUTS["presence"].at(address)
    kind = unsigned(at["type"])
    if not kind:
        return "invalid presence, %s" % quoted(at["description"])
    type_at = LAYOUTS["presence_type"].at(kind)
    return "presence %s (%s), %s" % (
        quoted(type_at["id"]), quoted(type_at["display"]), quoted(at["description"]))


def resource_text(address, depth=0):
    at = LAYOUTS["resource"].at(address)
    kind = unsigned(at["type"])
    if not kind:
        return "invalid resource"
    return "resource %s, %s" % (quoted(LAYOUTS["resource_type"].at(kind)["name"]),
                                safely(presence_text, at["presence"]))


def clip_text(address):
    at = LAYOUTS["clip"].at(address)
    return "%d × %d, %d frames/s, %d ms, %s" % (
        signed(at["width"]), signed(at["height"]), signed(at["rate"]), unsigned(at["duration"]),
        quoted(at["source"]))


def field_record(address):
    record = unsigned(address)
    if record:
        counted(record, LAYOUTS["field"].at(record)["ref"], "a field's record")
    return record


def field_value(at, kind):
    double = lambda name: str(scalar(at[name], "double").format_string())  # noqa: E731
    if kind == 1:
        items, chosen = strings(at["items"]), unsigned(at["first"], 4)
        return "%s of %s" % (items[chosen] if chosen < len(items) else "item %d" % chosen,
                             joined(items, 0))
    if kind in (2, 3):
        return "checked" if unsigned(at["value"], 1) else "not checked"
    if kind == SECRET_KIND:
        return "%d characters, not shown" % array(at["text"])[1]
    if 4 <= kind <= 9:
        return quoted(at["text"])
    if kind == 10:
        return "%d in %d to %d" % (signed(at["value"]), signed(at["second"]), signed(at["first"]))
    if kind == 11:
        return "%s in %s to %s" % (double("value"), double("second"), double("first"))
    if kind == 13:
        return "%d bytes" % array(at["image"])[1]
    if kind == 14:
        return action_text(at["action"], 1)
    return ""


def field_text(address, depth=0):
    record = field_record(address)
    if not record:
        return "null field"
    at = LAYOUTS["field"].at(record)
    kind = signed(at["type"])
    value = safely(field_value, at, kind)
    return "%s %s (%s)%s" % (FIELD_KINDS.get(kind, "kind %d" % kind), quoted(at["id"]),
                             quoted(at["label"]), ": " + value if value else "")


def buddy_record(address):
    """The record of the handle of an entry; the handle has a table of virtual functions."""
    record = unsigned(address + 8)
    if record:
        at = LAYOUTS["buddy"].at(record)
        counted(record, at["ref"], "an entry's record")
        kind = signed(at["type"])
        if not 0 <= kind < len(BUDDY_KINDS):
            raise Broken("an entry's record at 0x%x of kind %d; freed?" % (record, kind))
    return record


def kind_record(address, kind):
    """The layout of the record of the entry's kind; none where the entry has no such record."""
    record = buddy_record(address)
    at = LAYOUTS["buddy"].at(record) if record else None
    data = unsigned(at["kind"]) if at and signed(at["type"]) == BUDDY_KINDS.index(kind) else 0
    return LAYOUTS[kind.lower()].at(data) if data else None


def buddy_text(address, depth=0):
    record = buddy_record(address)
    if not record:
        return "invalid entry"
    at = LAYOUTS["buddy"].at(record)
    kind = BUDDY_KINDS[signed(at["type"])]
    more = safely(buddy_details, address, kind) if unsigned(at["kind"]) else ""
    unread = signed(at["unread"])
    return "%s %s%s%s" % (kind, quoted(at["display"]), more,
                          ", %d unread" % unread if unread else "")


def buddy_details(address, kind):
    at = kind_record(address, kind) if kind in ("Group", "Meta", "Contact", "Merged",
                                                 "Temporary") else None
    if not at:
        return ""
    if kind in ("Group", "Meta"):
        return " of %d" % len(buddies(at["children"]))
    if kind == "Merged":
        return " of %d" % len(buddies(at["contacts"]))
    return " <%s>, %s" % (quoted(at["id"]).strip('"'), presence_text(at["presence"]))


def buddy_type_text(address, depth=0):
    record = unsigned(address)
    if not record:
        return "invalid contact type"
    at = LAYOUTS["buddy_type"].at(record)
    counted(record, at["ref"], "a contact type's record")
    return "contact type %s (%s), presence types: %d, subscription types: %d" % (
        quoted(at["id"]), quoted(at["display"]), len(handles(at["presenceList"])),
        len(handles(at["subscriptions"])))


def subscription_text(address, depth=0):
    at = LAYOUTS["subscription"].at(address)
    return "subscription %s (%s)" % (quoted(at["id"]), quoted(at["display"]))


def xml_pieces(address):
    """What the element holds, in order: the addresses of texts and elements."""
    record = unsigned(address)
    piece = unsigned(LAYOUTS["xml"].at(record)["first"]) if record else 0
    found = []
    while piece and len(found) < MAX_MEMBERS:
        found.append(piece)
        piece = unsigned(LAYOUTS["xml"].at(piece)["next"])
    return found


def xml_tag(record):
    at = LAYOUTS["xml"].at(record)
    counted(record, at["ref"], "an element")
    attributes = [" %s=%s" % (quoted(key).strip('"'), quoted(value))
                  for key, value in pairs(at["attributes"])[:MAX_MEMBERS]]
    return "<%s%s>" % (quoted(at["text"]).strip('"'), "".join(attributes))


def xml_piece(piece):
    at = LAYOUTS["xml"].at(piece)
    return xml_tag(piece) if unsigned(at["isElement"], 1) else quoted(at["text"])


def xml_text(address, depth=0):
    record = unsigned(address)
    if not record:
        return "null element"
    pieces = len(xml_pieces(address))
    return xml_tag(record) + (" of %d" % pieces if pieces else "")


def xml_children(address):
    return [("[%d]" % i, safely(xml_piece, piece))
            for i, piece in enumerate(xml_pieces(address))]


def buffer_text(address, depth=0):
    at = LAYOUTS["buffer"].at(address)
    return "buffer %d, %d bytes at 0x%x, %s, %s" % (
        signed(at["id"]), signed(at["size"], 8), unsigned(at["data"]),
        "synchronised" if unsigned(at["mutex"]) else "not synchronised",
        "in use" if unsigned(at["inUse"], 1) else "free")


def ring_text(address, depth=0):
    at = LAYOUTS["ring"].at(address)
    return "ring of %d buffers of %d bytes, next is %d" % (
        array(at["buffers"])[1], signed(at["size"]), signed(at["nextIndex"]))


# --- What GDB shows below a value -----------------------------------------------------------------


def held_list(address):
    """The list that the variant holds; 0 where it holds something else."""
    record = unsigned(address)
    at = LAYOUTS["arg"].at(record) if record else None
    is_list = at and signed(at["type"]) == ARG_KINDS.index("ArgList")
    return unsigned(at["data"]) if is_list else 0


def arg_line(address):
    """Counts the elements of a list, which stand below."""
    return arg_text(address, MAX_DEPTH + 1 if held_list(address) else 0)


def arg_children(address):
    data = held_list(address)
    return indexed(handles(data), "MivoArg") if data else []


def indexed(addresses, type_name):
    return [("[%d]" % i, value_at(address, type_name))
            for i, address in enumerate(addresses[:MAX_MEMBERS])]


def value_at(address, type_name):
    """The value as GDB knows it, to be opened further; its text where the type is not known."""
    try:
        return gdb.Value(address).cast(gdb.lookup_type(type_name).pointer()).dereference()
    except gdb.error:
        return safely(TEXTS[type_name], address)


def buddy_children(address):
    record = buddy_record(address)
    if not record:
        return []
    kind = BUDDY_KINDS[signed(LAYOUTS["buddy"].at(record)["type"])]
    if kind in ("Invalid", "Other"):
        return []
    at = kind_record(address, kind)
    if not at:
        return []
    if kind in ("Group", "Meta"):
        return indexed(buddies(at["children"]), "MivoBuddy")
    if kind == "Merged":
        return indexed(buddies(at["contacts"]), "MivoBuddyContact")
    children = [("account", safely(pointer, at["account"]))]
    if kind == "Contact":
        children += [("type", safely(buddy_type_text, at["type"])),
                     ("subscription", safely(subscription_text, at["subscription"])),
                     ("avatarPath", safely(quoted, at["avatarPath"])),
                     ("parent", safely(buddy_text, at["parent"]))]
        children += [("attrib %s" % safely(quoted, key), safely(arg_text, value))
                     for key, value in entries(at["attribs"], 8)[:MAX_MEMBERS]]
        children += [("extra %s" % safely(quoted, key), safely(field_text, value))
                     for key, value in entries(at["extraInfo"], 8)[:MAX_MEMBERS]]
    else:
        children.append(("group", safely(buddy_text, at["group"])))
    children += [("resource %d" % i, safely(resource_text, resource))
                 for i, resource in enumerate(records(at["resources"], "resource")[:MAX_MEMBERS])]
    return children


def field_children(address):
    record = field_record(address)
    if not record:
        return []
    at = LAYOUTS["field"].at(record)
    flags = ["%s%s" % ("" if unsigned(at[name], 1) else "not ", text)
             for name, text in (("visible", "visible"), ("readOnly", "read-only"),
                                ("pressed", "pressed"))]
    return [("group", safely(quoted, at["group"])), ("flags", ", ".join(flags)),
            ("handles", str(signed(at["ref"])))]


def ring_children(address):
    begin, length = array(LAYOUTS["ring"].at(address)["buffers"])
    return [("[%d]" % i, safely(lambda slot: buffer_text(unsigned(slot)), begin + 8 * i))
            for i in range(min(length, MAX_MEMBERS))]


# --- Registration ---------------------------------------------------------------------------------

TEXTS = {
    "MivoArg": arg_line,
    "MivoField": field_text,
    "MivoBuddyType": buddy_type_text,
    "MivoPluginAction": action_text,
    "MivoService": service_text,
    "MivoPresence": presence_text,
    "MivoBuddyResource": resource_text,
    "MivoSubscriptionType": subscription_text,
    "MivoVideoClip": lambda address, depth=0: clip_text(address),
    "MivoXmlNode": xml_text,
    "MivoBuffer": buffer_text,
    "MivoRingBuffer": ring_text,
}
for kind_class in ("", "Group", "Meta", "Contact", "Merged", "Temporary"):
    TEXTS["MivoBuddy" + kind_class] = buddy_text

CHILDREN = {
    "MivoArg": arg_children,
    "MivoField": field_children,
    "MivoXmlNode": xml_children,
    "MivoRingBuffer": ring_children,
}
for kind_class in ("", "Group", "Meta", "Contact", "Merged", "Temporary"):
    CHILDREN["MivoBuddy" + kind_class] = buddy_children

# The elements of the lists that plug-ins are given.
LISTS = {
    "MivoArg": lambda address: handles(address),
    "MivoField": lambda address: handles(address),
    "MivoService": lambda address: records(address, "service"),
    "MivoPluginAction": lambda address: records(address, "action"),
    "MivoBuddyResource": lambda address: records(address, "resource"),
}
for kind_class in ("", "Group", "Meta", "Contact", "Merged", "Temporary"):
    LISTS["MivoBuddy" + kind_class] = buddies


class Printer:
    """One value: a line of text, and what stands below it when it is opened."""

    def __init__(self, name, value):
        self.name = name
        self.value = value

    def to_string(self):
        if self.value.is_optimized_out:
            return "<optimized out>"
        if self.value.address is None:
            return "<in a register>"
        return safely(TEXTS[self.name], int(self.value.address))

    def children(self):
        children = CHILDREN.get(self.name)
        if children is None or self.value.is_optimized_out or self.value.address is None:
            return iter(())
        found = safely(children, int(self.value.address))
        return iter(found if isinstance(found, list) else ())


class ListPrinter:
    """A QList of one of the types."""

    def __init__(self, name, value):
        self.name = name
        self.value = value

    def to_string(self):
        if self.value.is_optimized_out or self.value.address is None:
            return "<optimized out>"
        found = safely(LISTS[self.name], int(self.value.address))
        return "%d elements" % len(found) if isinstance(found, list) else found

    def children(self):
        if self.value.is_optimized_out or self.value.address is None:
            return iter(())
        found = safely(LISTS[self.name], int(self.value.address))
        return iter(indexed(found, self.name) if isinstance(found, list) else ())


def printers():
    collection = gdb.printing.RegexpCollectionPrettyPrinter("libmivo_data")
    for name in TEXTS:
        collection.add_printer(name, "^%s$" % name, lambda value, name=name: Printer(name, value))
    for name in LISTS:
        collection.add_printer("QList<%s>" % name, "^QList<%s>$" % name,
                               lambda value, name=name: ListPrinter(name, value))
    return collection


gdb.printing.register_pretty_printer(gdb.current_objfile(), printers(), replace=True)

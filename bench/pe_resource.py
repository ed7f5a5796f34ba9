"""Reads an RT_RCDATA resource, looked up by name, out of a PE file: the
benchmarks take the payload archive a packed installer carries from it, so
that every reference unpacks exactly the same bytes."""
import struct

RT_RCDATA = 10


def _sections(data):
    pe = struct.unpack_from("<I", data, 0x3C)[0]
    if data[pe:pe + 4] != b"PE\0\0":
        raise ValueError("not a PE file")
    count = struct.unpack_from("<H", data, pe + 6)[0]
    optional_size = struct.unpack_from("<H", data, pe + 20)[0]
    optional = pe + 24
    magic = struct.unpack_from("<H", data, optional)[0]
    directories = optional + (96 if magic == 0x10B else 112)
    resource_rva = struct.unpack_from("<I", data, directories + 2 * 8)[0]
    table = optional + optional_size
    sections = []
    for index in range(count):
        entry = table + 40 * index
        virtual_size, rva, raw_size, raw_offset = struct.unpack_from("<IIII", data, entry + 8)
        sections.append((rva, max(virtual_size, raw_size), raw_offset))
    return resource_rva, sections


def _offset(sections, rva):
    for start, size, raw in sections:
        if start <= rva < start + size:
            return raw + rva - start
    raise ValueError("RVA 0x%x is in no section" % rva)


def _entries(data, base, directory):
    named, numbered = struct.unpack_from("<HH", data, base + directory + 12)
    for index in range(named + numbered):
        name, target = struct.unpack_from("<II", data, base + directory + 16 + 8 * index)
        if name & 0x80000000:
            at = base + (name & 0x7FFFFFFF)
            length = struct.unpack_from("<H", data, at)[0]
            key = data[at + 2:at + 2 + 2 * length].decode("utf-16-le")
        else:
            key = name
        yield key, target


def read_rcdata(path, name):
    """The bytes of resource `name` of type RT_RCDATA (first language), or
    None when the file has no such resource."""
    with open(path, "rb") as source:
        data = source.read()
    resource_rva, sections = _sections(data)
    if resource_rva == 0:
        return None
    base = _offset(sections, resource_rva)
    for kind, types in _entries(data, base, 0):
        if kind != RT_RCDATA:
            continue
        for key, names in _entries(data, base, types & 0x7FFFFFFF):
            if key != name:
                continue
            for _, entry in _entries(data, base, names & 0x7FFFFFFF):
                rva, size = struct.unpack_from("<II", data, base + entry)
                start = _offset(sections, rva)
                return data[start:start + size]
    return None


def hide_rcdata(source, target, name, hidden):
    """Copies the PE file `source` to `target` with its resource `name` renamed
    `hidden` (the same length, sorting after the same neighbours), so that a
    look-up by `name` no longer finds it."""
    if len(hidden) != len(name):
        raise ValueError("the new name must be as long as the old one")
    with open(source, "rb") as original:
        data = original.read()
    # The directory's length-prefixed name, not a copy of the text in the code.
    old = struct.pack("<H", len(name)) + name.encode("utf-16-le")
    if data.count(old) != 1:
        raise ValueError("%s is not named once in %s" % (name, source))
    with open(target, "wb") as copy:
        copy.write(data.replace(old, struct.pack("<H", len(name)) + hidden.encode("utf-16-le")))

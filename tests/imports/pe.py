"""Reads of a 64-bit PE file what the import check asks for; knows nothing of what is allowed."""

import struct
import zlib

PE32_PLUS = 0x20B
MACHINE_AMD64 = 0x8664
DIRECTORY_EXPORT, DIRECTORY_IMPORT, DIRECTORY_RESOURCE, DIRECTORY_EXCEPTION, DIRECTORY_DELAY_IMPORT = 0, 1, 2, 3, 13
CALL = b"\xe8"
RESOURCE_VERSION = 16
VERSION_SIGNATURE = struct.pack("<I", 0xFEEF04BD)


class BadImage(Exception):
    pass


class Image:
    def __init__(self, path):
        self.data = path.read_bytes()
        try:
            self._read_headers()
        except struct.error as error:
            raise BadImage(f"{path} is cut short: {error}") from error

    def _unpack(self, layout, offset):
        return struct.unpack_from("<" + layout, self.data, offset)

    def _read_headers(self):
        if self.data[:2] != b"MZ":
            raise BadImage("no MZ header")
        (header,) = self._unpack("I", 0x3C)
        if self.data[header:header + 4] != b"PE\0\0":
            raise BadImage("no PE header")
        self.machine, sections, _, symbols, symbol_count, optional_size, _ = self._unpack("HHIIIHH", header + 4)
        optional = header + 24
        (magic,) = self._unpack("H", optional)
        if self.machine != MACHINE_AMD64 or magic != PE32_PLUS:
            raise BadImage("no 64-bit x86 image")
        (self.dll_characteristics,) = self._unpack("H", optional + 70)
        (count,) = self._unpack("I", optional + 108)
        self.directories = [self._unpack("II", optional + 112 + 8 * i) for i in range(count)]
        # Names of more than eight characters stand in the string table behind the symbols.
        names = symbols + 18 * symbol_count if symbols else 0
        self.symbol_table = (symbols, symbol_count if symbols else 0, names)
        self.sections = []
        for i in range(sections):
            raw, size, address, raw_size, offset = self._unpack("8sIIII", optional + optional_size + 40 * i)
            name = raw.rstrip(b"\0")
            if name.startswith(b"/") and names:
                name = self._text(names + int(name[1:]))
            self.sections.append((name.decode(), address, max(size, raw_size), offset, raw_size))

    def _text(self, offset):
        return self.data[offset:self.data.index(b"\0", offset)]

    def _offset(self, address):
        for _, start, size, offset, _ in self.sections:
            if start <= address < start + size:
                return address - start + offset
        raise BadImage(f"address {address:#x} is in no section")

    def _directory(self, index):
        address, _ = self.directories[index] if index < len(self.directories) else (0, 0)
        return self._offset(address) if address else None

    def _name_at(self, address):
        return self._text(self._offset(address)).decode()

    def _thunks(self, address):
        offset = self._offset(address)
        while True:
            (thunk,) = self._unpack("Q", offset)
            if thunk == 0:
                return
            # An import by number has no name that could be looked up in a list.
            yield f"#{thunk & 0xFFFF}" if thunk >> 63 else self._name_at(thunk + 2)
            offset += 8

    def imports(self):
        """(DLL in lower case, function) for each import, the delayed ones included."""
        found = []
        for directory, size, name_at, thunks_at in ((DIRECTORY_IMPORT, 20, 12, 0),
                                                    (DIRECTORY_DELAY_IMPORT, 32, 4, 16)):
            offset = self._directory(directory)
            while offset is not None:
                (name,) = self._unpack("I", offset + name_at)
                if name == 0:
                    break
                (thunks,) = self._unpack("I", offset + thunks_at)
                found += [(self._name_at(name).lower(), function) for function in self._thunks(thunks)]
                offset += size
        return found

    def exports(self):
        offset = self._directory(DIRECTORY_EXPORT)
        if offset is None:
            return []
        functions, count, _, names, _ = self._unpack("IIIII", offset + 20)
        if functions != count:
            raise BadImage(f"{functions} functions are exported under {count} names")
        table = self._offset(names)
        return [self._name_at(self._unpack("I", table + 4 * i)[0]) for i in range(count)]

    def _resource_data(self, offset, root):
        """All data blocks below a directory of the resource tree."""
        named, numbered = self._unpack("HH", offset + 12)
        for i in range(named + numbered):
            _, child = self._unpack("II", offset + 16 + 8 * i)
            if child >> 31:
                yield from self._resource_data(root + (child & 0x7FFFFFFF), root)
            else:
                address, size = self._unpack("II", root + child)
                start = self._offset(address)
                yield self.data[start:start + size]

    def resources(self, kind):
        root = self._directory(DIRECTORY_RESOURCE)
        if root is None:
            return []
        named, numbered = self._unpack("HH", root + 12)
        found = []
        for i in range(named + numbered):
            identifier, child = self._unpack("II", root + 16 + 8 * i)
            if identifier == kind and child >> 31:
                found += self._resource_data(root + (child & 0x7FFFFFFF), root)
        return found

    def file_version(self):
        """Such as "1.0.0.0"; nothing when the image has no version block."""
        for block in self.resources(RESOURCE_VERSION):
            at = block.find(VERSION_SIGNATURE)
            if at >= 0:
                high, low = struct.unpack_from("<II", block, at + 8)
                return f"{high >> 16}.{high & 0xFFFF}.{low >> 16}.{low & 0xFFFF}"
        return None

    def symbols(self):
        """{address: {name}} of the symbol table; empty in a stripped image."""
        found = {}
        table, count, names = self.symbol_table
        index = 0
        while index < count:
            raw, value, section, _, _, further = self._unpack("8sIhHBB", table + 18 * index)
            if section > 0:
                zeros, offset = struct.unpack("<II", raw)
                name = self._text(names + offset) if zeros == 0 else raw.rstrip(b"\0")
                found.setdefault(self.sections[section - 1][1] + value, set()).add(name.decode())
            index += 1 + further
        return found

    def _frame_size(self, unwind):
        """Bytes that a function's beginning takes from the stack, by its unwind information."""
        offset = self._offset(unwind)
        size, index = 0, 0
        while index < self.data[offset + 2]:
            code = offset + 4 + 2 * index
            operation, info = self.data[code + 1] & 15, self.data[code + 1] >> 4
            index += {1: 3 if info else 2, 4: 2, 5: 3, 8: 2, 9: 3}.get(operation, 1)
            if operation == 0:
                size += 8
            elif operation == 1:
                size += self._unpack("I", code + 2)[0] if info else 8 * self._unpack("H", code + 2)[0]
            elif operation == 2:
                size += 8 * info + 8
        return size

    def functions(self):
        """(address, size of the frame, code) of every function that has a frame."""
        offset = self._directory(DIRECTORY_EXCEPTION)
        count = self.directories[DIRECTORY_EXCEPTION][1] // 12 if offset else 0
        for i in range(count):
            begin, end, unwind = self._unpack("III", offset + 12 * i)
            yield begin, self._frame_size(unwind), self.data[self._offset(begin):self._offset(begin) + end - begin]

    def debug_link(self):
        """File name and checksum of the separate symbol file; nothing when there is no link."""
        for name, _, _, offset, size in self.sections:
            if name == ".gnu_debuglink":
                file = self._text(offset)
                # The checksum follows the name at the next multiple of four.
                (checksum,) = self._unpack("I", offset + (len(file) + 4) // 4 * 4)
                return file.decode(), checksum
        return None


def calls_to(code, begin, target):
    """Whether the code of a function, which stands at `begin`, calls the function at `target`."""
    at = code.find(CALL)
    while 0 <= at <= len(code) - 5:
        if begin + at + 5 + struct.unpack_from("<i", code, at + 1)[0] == target:
            return True
        at = code.find(CALL, at + 1)
    return False


def checksum_of(path):
    return zlib.crc32(path.read_bytes())

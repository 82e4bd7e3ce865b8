"""NAL units of byte streams."""
import re

START_CODE = b"\0\0\0\1"


def split(stream):
    """The units of a byte stream, header byte first, without start codes and the zeros in front of those."""
    return [unit.rstrip(b"\0") for unit in re.split(b"\0\0\1", stream)[1:] if unit.rstrip(b"\0")]


def annex_b(units):
    return b"".join(START_CODE + unit for unit in units)


def unit_type(unit):
    return unit[0] & 31


def unescaped(unit):
    """The unit without its emulation prevention bytes."""
    return re.sub(b"\0\0\3", b"\0\0", unit)


def escaped(unit):
    """The inverse."""
    return re.sub(b"\0\0(?=[\0-\3])", b"\0\0\3", unit)


def first_mb(unit):
    """first_mb_in_slice, the first element of a slice header (ue(v))."""
    bits = int.from_bytes(unescaped(unit)[1:10].ljust(9, b"\0"), "big")
    zeros = 72 - bits.bit_length()
    return (bits >> 72 - 2 * zeros - 1) - 1 if bits and zeros <= 31 else -1

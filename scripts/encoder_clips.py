"""Source pictures of every format that the encoder takes, made of rendered I420."""
import array
import dataclasses
import sys


@dataclasses.dataclass(frozen=True)
class Format:
    chroma: int = 420  # 400, 420 or 422
    luma: int = 8      # bits of a sample, here and below
    other: int = 8     # of chroma
    alpha: int = 0     # 0: no alpha plane

    def decoded_depth(self):
        """The largest of the planes that a decoder gives."""
        return self.luma if self.chroma == 400 else max(self.luma, self.other)

    def coded_depth(self):
        """The largest of all: above 8, the encoder's samples have two bytes each."""
        return max(self.decoded_depth(), self.alpha)


def sample_bytes(depth):
    return 2 if depth > 8 else 1


def deepened(plane, depth):
    """Samples of two bytes, the low one first, whose low bits are no noise."""
    words = array.array("H", (v << (depth - 8) | v >> (16 - depth) for v in plane))
    if sys.byteorder == "big":
        words.byteswap()
    return words.tobytes()


def planes_of(picture, width, form):
    """(samples, depth) of each plane: chroma rows are there twice or not at all, alpha is luma turned round."""
    luma = len(picture) * 2 // 3
    planes = [(picture[:luma], form.luma)]
    for first in (luma, luma + luma // 4) if form.chroma != 400 else ():
        rows = (picture[row:row + width // 2] for row in range(first, first + luma // 4, width // 2))
        planes.append((b"".join(row * (2 if form.chroma == 422 else 1) for row in rows), form.other))
    if form.alpha:
        planes.append((bytes(255 - v for v in picture[:luma]), form.alpha))
    return planes


def converted(i420, size, form):
    """Pictures of 8 bits and 4:2:0 in another format."""
    width, height = (int(n) for n in size.split("x"))
    picture = width * height * 3 // 2
    is_deep = form.coded_depth() > 8
    return b"".join(deepened(plane, depth) if is_deep else plane for start in range(0, len(i420), picture)
                    for plane, depth in planes_of(i420[start:start + picture], width, form))

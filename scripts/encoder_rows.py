"""What the encoder is tried with: every setting and its values, corners chosen by hand, and rows of pairs."""
import dataclasses

from all_pairs import all_pairs
from encoder_clips import Format, sample_bytes

# Every setting: its default, and other values that make a difference. The command line has chroma and depth of its own.
FIELDS = {
    "chroma": (420, 400, 422), "depth": (8, 10, 12), "coding_type": (0, 1, 2), "num_b_frames": (0, 1, 2, 3),
    "b_ref_mode": (0, 1, 2), "num_ref_frames": (1, 2, 4, 8), "num_ref_to_start_b": (1, 2), "level_idc": (0, 30, 51),
    "rate_control_method": (2, 0, 1, 3), "quant_i": (20, 12, 36), "quant_p": (20, 14, 38), "quant_b": (20, 16, 40),
    "num_slices": (1, 2, 3), "keep_pattern_at_key": (0, 1), "deblocking_filter_idc": (0, 1, 2),
    "deblocking_alpha_offset": (2, -6, 12), "deblocking_beta_offset": (2, -12, 6),
    "search_method": (2, 0, 1, 3, 4, 5, 6, 7, 8), "partition_level": (0, 1, 2, 3), "search_x": (8, 3, 24),
    "search_y": (8, 5, 16), "use_weighted_pred": (0, 1), "use_weighted_bipred": (0, 1),
    "use_implicit_weighted_bipred": (0, 1), "direct_pred_mode": (0, 1, 2), "direct_8x8_inference": (1, 0),
    "entropy_coding_mode": (1, 0), "cabac_init_idc": (1, 0, 2), "write_access_unit_delimiters": (0, 1),
    "key_frame_method": (1, 0), "key_frame_interval": (100, 1, 3, 7), "idr_interval": (0, 1, 2),
    "profile_idc": (77, 66, 88, 100, 110, 122), "transform_8x8_mode": (0, 1),
    "qpprime_y_zero_transform_bypass": (0, 1), "use_default_scaling_matrix": (0, 1), "aux_format_idc": (0, 1),
    "alpha_incr_flag": (0, 1), "alpha_opaque_value": (0, 255), "alpha_transparent_value": (0, 16),
    "bit_depth_aux": (8, 10), "num_frames": (0, 100), "analysis_level": (0, 1, 2, 3, 4),
    "bitrate": (2222222, 64000, 600000), "frame_rate": (30, 12.5),
}
SIZES = ("176x144", "178x146", "96x80", "64x16", "16x48")
# Samples of 11 bits, and chroma of another depth than luma, which ffmpeg does not know: a table of pairs of their own.
ODD_DEPTHS = {
    "depths": ((11, 11), (10, 8), (8, 10), (12, 9), (9, 12), (11, 8)), "chroma": (420, 422), "coding_type": (0, 1, 2),
    "num_b_frames": (0, 2), "num_ref_frames": (2, 4), "rate_control_method": (2, 3), "num_slices": (1, 3),
    "partition_level": (0, 1, 2), "analysis_level": (0, 1, 4), "direct_pred_mode": (0, 1),
    "use_implicit_weighted_bipred": (0, 1), "entropy_coding_mode": (1, 0), "transform_8x8_mode": (0, 1),
    "use_default_scaling_matrix": (0, 1), "aux_format_idc": (0, 1), "bit_depth_aux": (8, 10),
    "bitrate": (2222222, 64000),
}
OPTIONS = ("chroma", "depth", "chroma_depth")  # given by options of their own; chroma's depth is that of luma if not
DEFAULTS = {name: values[0] for name, values in FIELDS.items()}


@dataclasses.dataclass
class Row:
    name: str
    settings: dict
    size: str = "96x80"
    frames: int = 12
    seed: int = 1
    oracle: str = ""  # one of ORACLES; empty: what the settings in force ask for
    status: int = 0   # of a row that is refused
    types: str = ""   # that pictures are asked to have, as h264_encode takes them
    note: str = ""    # what is unusual about the stream
    kept: dict = None  # of a row that is pinned: bytes and digest of the stream, and settings in force

    def format(self):
        chroma, depth = (self.settings.get(name, DEFAULTS[name]) for name in OPTIONS[:2])
        alpha = self.settings.get("bit_depth_aux", 8) if self.settings.get("aux_format_idc") else 0
        return Format(chroma, depth, self.settings.get("chroma_depth", depth), alpha)

    def luma_samples(self):
        width, height = (int(n) for n in self.size.split("x"))
        return width * height

    def samples(self):
        """Of a picture without its alpha plane."""
        return self.luma_samples() * {400: 2, 420: 3, 422: 4}[self.format().chroma] // 2

    def luma_bytes(self):
        return self.luma_samples() * sample_bytes(self.format().decoded_depth())

    def picture_bytes(self):
        """As decoders give it."""
        return self.samples() * sample_bytes(self.format().decoded_depth())

    def coded_bytes(self):
        """As the encoder reads and reconstructs it, with its alpha plane."""
        has_alpha = self.format().alpha != 0
        return (self.samples() + has_alpha * self.luma_samples()) * sample_bytes(self.format().coded_depth())

    def parted(self, coded):
        """Pictures as decoders give them, and their alpha planes."""
        form, whole = self.format(), self.coded_bytes()
        width = sample_bytes(form.coded_depth())

        def of(first, last, depth):
            step = width // sample_bytes(depth)  # 2: the samples are 8-bit ones in two bytes
            return b"".join(coded[i + first * width:i + last * width:step] for i in range(0, len(coded), whole))

        last = self.samples()
        alpha = of(last, last + self.luma_samples(), form.alpha) if form.alpha else b""
        return of(0, last, form.decoded_depth()), alpha

    def grey(self):
        """Settings under which a monochrome stream has the parameter sets of its auxiliary pictures."""
        other = {name: value for name, value in self.settings.items() if name != "aux_format_idc"}
        other |= {"chroma": 400, "depth": self.format().alpha, "chroma_depth": self.format().alpha}
        return dataclasses.replace(self, settings=other)

    def changed(self):
        return {name: value for name, value in self.settings.items() if value != DEFAULTS.get(name)}

    def of_tool(self):
        """The options of h264_encode that ask for it."""
        form = self.format()
        fields = {name: value for name, value in self.settings.items() if name not in OPTIONS}
        fields |= {"bit_depth_luma": form.luma, "bit_depth_chroma": form.other} | fields
        sets = [option for name, value in fields.items() for option in ("--set", f"{name}={value}")]
        types = ["--types", self.types] if self.types else []
        return ["--size", self.size, "--chroma", form.chroma, "--depth", form.coded_depth(), *sets, *types]


def corner(name, size="96x80", frames=12, oracle="", status=0, types="", note="", kept=None, **settings):
    return Row(name, settings, size, frames, 2, oracle, status, types, note, kept)


def constant(qp, **more):
    return {"rate_control_method": 3, "quant_i": qp, "quant_p": qp, "quant_b": qp, **more}


def kept(digest, size, **settings):
    return {"oracle": "pinned", "kept": {"bytes": size, "digest": digest, **settings}}


LOSSLESS = {"qpprime_y_zero_transform_bypass": 1, **constant(0)}
BEHIND = "B pictures in front of it wait for it, and are coded and shown behind it"
FEW_BITS = "B pictures are half of the order count's range or more behind the anchors before them in coding order"
UNTOLD = "pictures leave far out of their coding order, and no bitstream restriction says how far"
# Streams whose parameter sets leave undeclared what they need, or that are coded as no client of the library asks for.
UNUSUAL = [
    corner("4:2:2 of 12 bits at profile 110", chroma=422, depth=12, profile_idc=110, note="High 10 has neither"),
    corner("profile 66 with CABAC", profile_idc=66, note="Baseline has no CABAC"),
    corner("profile 66 with field pictures", profile_idc=66, entropy_coding_mode=0, coding_type=1,
           note="Baseline has no fields"),
    corner("profile 88 with CABAC", profile_idc=88, note="Extended has no CABAC"),
    corner("lossless at profile 77", **LOSSLESS, **kept("068e61ccd3141482", 39811, profile_idc=77),
           note="no sequence parameter set below profile 100 can say that QP 0 means no transform"),
    corner("lossless at profile 66, CAVLC", profile_idc=66, entropy_coding_mode=0, **LOSSLESS,
           **kept("9123196fdc5c22d3", 47092), note="as at profile 77"),
    *(corner(f"an I picture asked for at {i}, with runs of {n} B pictures", types=f"{i}:I", num_b_frames=n,
             num_ref_frames=4, note=BEHIND) for n, i in ((2, 5), (2, 6), (3, 6))),
    corner("a B picture asked for in place of an anchor", types="6:B", num_b_frames=2, num_ref_frames=4),
    corner("a P picture asked for inside a run of B pictures", types="5:P", num_b_frames=2, num_ref_frames=4),
    corner("a B picture asked for where none is announced", types="5:B", num_ref_frames=2,
           **kept("8fadf5c0b7aa836e", 29342),
           note="order count type 2 has no order but that of coding"),
    corner("7 B pictures, 1 reference asked for", frames=18, num_b_frames=7, num_ref_frames=1, b_ref_mode=2,
           note=UNTOLD),
    corner("7 B pictures, field pictures", frames=18, num_b_frames=7, num_ref_frames=4, b_ref_mode=2, coding_type=1,
           note=UNTOLD),
    corner("7 B pictures that wait for 3 anchors", frames=26, num_b_frames=7, num_ref_frames=4, num_ref_to_start_b=3,
           **kept("41644b85898c9306", 57737, num_ref_to_start_b=3), note=FEW_BITS),
    corner("2 B pictures that wait for 3 anchors", num_b_frames=2, num_ref_frames=4, num_ref_to_start_b=3,
           **kept("72433f9d44bb7247", 27271, num_ref_to_start_b=3), note=FEW_BITS),
]
CORNERS = [
    corner("defaults", "176x144", 30),
    corner("one macroblock", "16x16", 20),
    corner("one row of macroblocks", "128x16"),
    corner("one column of macroblocks", "16x112"),
    corner("cropped on both sides", "178x146"),
    corner("cropped to two samples", "18x18"),
    *(corner(f"{n} references", num_ref_frames=n, level_idc=51, analysis_level=1, frames=20) for n in range(17)),
    corner("more references than the level has", num_ref_frames=16, level_idc=11, size="176x144"),
    corner("more references than there are", num_ref_frames=17),
    corner("16 references at level 51", "176x144", 20, num_ref_frames=16, level_idc=51, search_method=0),
    *(corner(f"QP {qp}", **constant(qp)) for qp in (0, 1, 18, 35, 50, 51)),
    corner("QP 52 becomes 0", frames=4, **constant(52)),
    corner("1 kb/s", frames=20, bitrate=1000),
    corner("1 kb/s in short windows", frames=20, bitrate=1000, rate_control_method=1),
    corner("50 Mb/s", "176x144", bitrate=50000000),
    corner("no rate control", rate_control_method=0),
    corner("every picture a key picture", key_frame_interval=1),
    corner("every picture an IDR picture", key_frame_interval=1, idr_interval=1),
    corner("every other picture an IDR picture", frames=10, key_frame_interval=2, idr_interval=1),
    corner("more IDR pictures than they have numbers", "16x16", 17, key_frame_interval=1, idr_interval=1),
    corner("more pictures than frame numbers", "16x16", 260),
    corner("a slice for each row", num_slices=5, deblocking_filter_idc=2),
    corner("more slices than rows", num_slices=99),
    corner("delimiters", write_access_unit_delimiters=1, num_slices=2),
    corner("search over one sample", search_x=1, search_y=1),
    corner("full search as far as it goes", frames=4, search_method=0, search_x=127, search_y=127),
    corner("umbrella as far as it goes", frames=6, search_method=8, search_x=127, search_y=127),
    corner("values out of range", frames=6, num_ref_frames=-1, search_method=9, cabac_init_idc=3, rate_control_method=4,
           deblocking_alpha_offset=13, level_idc=99, key_frame_interval=-1),
    corner("partitions out of range", partition_level=4),
    corner("a level below the size", "176x144", 6, level_idc=10, frame_rate=60),
    corner("the flat lists of the High profile", use_default_scaling_matrix=1, **constant(24)),
    corner("field pictures, height no multiple of 32", "176x144", coding_type=1),
    corner("field pictures, one row", "64x16", coding_type=1),
    corner("field pictures, three slices in three rows", "16x48", coding_type=1, num_slices=3),
    corner("field pictures, B pictures", coding_type=1, num_b_frames=2, num_ref_frames=4),
    corner("adaptive frames", coding_type=2, frames=20),
    corner("adaptive frames, height no multiple of 32", "176x144", coding_type=2),
    corner("adaptive frames, two slices in one pair of rows", "16x32", coding_type=2, num_slices=2),
    corner("adaptive frames, an odd number of macroblocks a slice", "48x64", coding_type=2, num_slices=4),
    corner("adaptive frames, CAVLC", coding_type=2, entropy_coding_mode=0),
    corner("adaptive frames, 8x8 transform", coding_type=2, transform_8x8_mode=1),
    corner("adaptive frames, B pictures", coding_type=2, num_b_frames=1, num_ref_frames=3),
    *(corner(f"{n} B pictures, reference mode {m}", frames=17, num_b_frames=n, b_ref_mode=m, num_ref_frames=4)
      for n in (1, 2, 3, 7) for m in (0, 1, 2)),
    *(corner(f"B pictures, direct mode {m}, inference {i}", num_b_frames=2, direct_pred_mode=m, direct_8x8_inference=i,
             num_ref_frames=3) for m in (0, 1, 2) for i in (0, 1)),
    corner("B pictures, implicit weights", num_b_frames=2, use_implicit_weighted_bipred=1, num_ref_frames=4),
    corner("B pictures, short IDR periods", frames=23, num_b_frames=2, key_frame_interval=5, idr_interval=1,
           num_ref_frames=3),
    corner("B pictures, an I picture inside the run", frames=23, num_b_frames=2, key_frame_interval=5,
           keep_pattern_at_key=1, num_ref_frames=3),
    corner("B pictures that end the stream", frames=11, num_b_frames=3, num_ref_frames=3),
    *(corner(f"CAVLC, QP {qp}", entropy_coding_mode=0, **constant(qp)) for qp in (0, 26, 51)),
    corner("CAVLC, many slices", entropy_coding_mode=0, num_slices=5),
    *(corner(f"8x8 transform, QP {qp}", transform_8x8_mode=1, **constant(qp)) for qp in (0, 26, 51)),
    corner("8x8 transform, CAVLC", transform_8x8_mode=1, entropy_coding_mode=0),
    corner("8x8 transform, default matrices", transform_8x8_mode=1, use_default_scaling_matrix=1),
    corner("lossless", profile_idc=144, qpprime_y_zero_transform_bypass=1, **constant(0)),
    corner("lossless, 8x8 transform", qpprime_y_zero_transform_bypass=1, transform_8x8_mode=1, **constant(0)),
    corner("lossless asked for, luma of 9 bits beside 12", depth=9, chroma_depth=12, bitrate=50000000,
           qpprime_y_zero_transform_bypass=1),
    *(corner(f"{c}, {d} bits", chroma=c, depth=d) for c in (400, 422) for d in (8, 10)),
    *(corner(f"{d} bits, QP {qp}", depth=d, **constant(qp)) for d in (9, 10, 12) for qp in (0, 51)),
    *(corner(f"partitions {p}, analysis {a}", partition_level=p, analysis_level=a, num_ref_frames=2)
      for p in (1, 2) for a in (0, 1, 2, 3, 4)),
    corner("an alpha plane", aux_format_idc=1),
    corner("an alpha plane of 10 bits beside 8", aux_format_idc=1, bit_depth_aux=10),
    corner("an alpha plane of 8 bits beside 12", aux_format_idc=1, depth=12),
    corner("an alpha plane, field pictures", aux_format_idc=1, coding_type=1, num_b_frames=1, num_ref_frames=2),
    corner("an alpha plane, delimiters", aux_format_idc=1, write_access_unit_delimiters=1, key_frame_interval=5,
           idr_interval=1, note="delimiter and parameter sets stand in front of each auxiliary picture, too, which "
           "makes an access unit without a primary picture of it"),
    corner("11 bits, monochrome", chroma=400, depth=11),
    corner("12 bits beside 9 at a high rate", depth=9, chroma_depth=12, bitrate=50000000),
    *UNUSUAL,
    corner("a depth of 13 bits", oracle="refused", status=-882, bit_depth_luma=13, profile_idc=100),
    corner("an unknown profile", oracle="refused", status=-882, profile_idc=99),
    corner("chroma of 4:4:4", oracle="refused", status=-878, chroma_format_idc=3, profile_idc=100),
]
FAST_CORNERS = 2  # --fast runs every second corner,
FAST_PAIRS = 12   # and so many rows of pairs


def values_alone():
    """A row for each value that is no default, with everything else at its default."""
    others = [(name, value) for name, values in FIELDS.items() for value in values[1:]]
    return [Row(f"{name}={value}", {name: value}, "32x32", 2) for name, value in others]


def pairs_but_for(missing, fields):
    """Rows of fields in which every two values meet, but for those missing: (name, value)."""
    return all_pairs({name: [value for value in values if (name, value) not in missing]
                      for name, values in fields.items()})


def paired_rows(missing):
    rows = []
    for i, row in enumerate(pairs_but_for(missing, FIELDS | {"size": SIZES, "frames": (5, 10, 14), "seed": (1, 5)})):
        size, frames, seed = (row.pop(name) for name in ("size", "frames", "seed"))
        if row.get("coding_type") == 1 and row.get("deblocking_filter_idc") == 2:
            row["num_b_frames"] = 0  # pictures that nobody else filters alike, of which some are not filtered here
        if row.get("coding_type") and int(size.split("x")[1]) % 4:
            size = "176x144"  # frames of fields are cropped by four lines at a time
        rows.append(Row(f"pairs {i + 1}", row, size, frames, seed))
    return rows


def odd_depth_rows(missing):
    rows = []
    for i, row in enumerate(pairs_but_for(missing, ODD_DEPTHS)):
        row["depth"], row["chroma_depth"] = row.pop("depths")
        row["b_ref_mode"] = 2  # the filter runs over all pictures: h264_decode cannot leave it out of some
        rows.append(Row(f"odd depths {i + 1}", row, frames=8))
    return rows

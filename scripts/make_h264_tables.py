#!/usr/bin/env python3
"""Writes Common/h264/h264_tables.cpp from the CSV files in Common/h264/data.

Usage: make_h264_tables.py [OUTPUT]      (default: the file in the tree)
"""
import csv
import pathlib
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
DATA = ROOT / "Common" / "h264" / "data"


def rows(name):
    with open(DATA / name, encoding="utf-8", newline="") as file:
        return list(csv.DictReader(file))


def column(name, key, count):
    return [int(r[key]) for r in rows(name)[:count]]


def literal(value, depth=0):
    """A nested list as an initialiser, wrapped to the line length of the tree."""
    if isinstance(value, str):
        return value
    if not isinstance(value, (list, tuple)):
        return str(value)
    parts = [literal(v, depth + 1) for v in value]
    indent = " " * 4 * (depth + 1)
    if isinstance(value, tuple):
        return "{" + ", ".join(parts) + "}"
    if any(isinstance(v, list) for v in value):
        return "{\n" + ",\n".join(indent + p for p in parts) + "}"
    lines, line = [], indent
    for p in parts:
        if len(line) + len(p) + 2 > 118:
            lines.append(line.rstrip())
            line = indent
        line += p + ", "
    lines.append(line.rstrip().rstrip(","))
    return "{\n" + "\n".join(lines) + "}"


def code(text):
    return (int(text, 2), len(text)) if text else (0, 0)


def context_init():
    table = [[(0, 0)] * 460 for _ in range(4)]
    for r in rows("cabac_init.csv"):
        index = int(r["ctxIdx"])
        if index < 460:
            for i, name in enumerate(("i", "idc0", "idc1", "idc2")):
                if r[name + "_m"]:
                    table[i][index] = (int(r[name + "_m"]), int(r[name + "_n"]))
    return table


def block_cats():
    table = []
    for r in rows("ctx_block_cat.csv")[:6]:
        v = {k: int(x) for k, x in r.items() if k not in ("ctxBlockCat", "block", "maxNumCoeff")}
        table.append((v["coded_block_flag_ctxIdxOffset"] + v["coded_block_flag_catOffset"],
                      (v["sig_frame_ctxIdxOffset"] + v["sig_catOffset"], v["sig_field_ctxIdxOffset"] + v["sig_catOffset"]),
                      (v["last_frame_ctxIdxOffset"] + v["last_catOffset"],
                       v["last_field_ctxIdxOffset"] + v["last_catOffset"]),
                      v["abs_level_ctxIdxOffset"] + v["abs_level_catOffset"]))
    return table


def coeff_token():
    names = ("nC_0_1", "nC_2_3", "nC_4_7", "nC_8_up", "nC_minus1", "nC_minus2")
    table = [[[(0, 0)] * 17 for _ in range(4)] for _ in names]
    for r in rows("coeff_token.csv"):
        for i, name in enumerate(names):
            table[i][int(r["trailing_ones"])][int(r["total_coeff"])] = code(r[name])
    return table


def vlc(name, key, value, outer, inner):
    table = [[(0, 0)] * inner for _ in range(outer)]
    for r in rows(name):
        table[int(r[key].rstrip("+"))][int(r[value])] = code(r["code"])
    return table


def coded_block_pattern():
    return [[[int(r[f"chroma_{group}_{kind}"] or 0) for r in rows("coded_block_pattern_map.csv")]
             for kind in ("intra", "inter")] for group in ("1_2", "0_3")]


def by_place(name, block, prefix):
    size = 4 if block == "4x4" else 8
    table = [[0] * (size * size) for _ in range(6)]
    for r in rows(name):
        if r["block"] == block:
            for m in range(6):
                table[m][int(r["row"]) * size + int(r["column"])] = int(r[f"{prefix}_m{m}"])
    return table


def aspect_ratio():
    return [(int(r["sar_width"] or 0), int(r["sar_height"] or 0)) for r in rows("aspect_ratio.csv")
            if int(r["aspect_ratio_idc"]) <= 16]


def level_limits():
    """Levels 1 to 5.1. Level 1b has no level_idc of its own here: 11 with a flag stands for it in most profiles."""
    return [tuple(int(r[k]) for k in ("level_idc", "MaxMBPS", "MaxFS", "MaxDpbMbs"))
            for r in rows("level_limits.csv") if 10 <= int(r["level_idc"]) <= 51]


def tables():
    yield "ContextInit kContextInit[4][kContextCount]", context_init()
    yield "uint8_t kRangeLps[64][4]", [tuple(int(r[f"qCodIRangeIdx_{i}"]) for i in range(4))
                                       for r in rows("range_lps.csv")]
    yield "uint8_t kTransIdxLps[64]", column("trans_idx.csv", "transIdxLPS", 64)
    yield "uint8_t kTransIdxMps[64]", column("trans_idx.csv", "transIdxMPS", 64)
    yield "BlockCatContexts kBlockCatContexts[6]", block_cats()
    yield "uint8_t kSignificantCtx8x8[2][63]", [column("sig_coeff_ctx_8x8.csv", k, 63) for k in ("sig_frame", "sig_field")]
    yield "uint8_t kLastCtx8x8[63]", column("sig_coeff_ctx_8x8.csv", "last", 63)
    yield "VlcCode kCoeffToken[kNcClasses][4][17]", coeff_token()
    yield "VlcCode kTotalZeros4x4[16][16]", vlc("total_zeros_4x4.csv", "tzVlcIndex", "total_zeros", 16, 16)
    yield "VlcCode kTotalZerosChromaDc420[4][4]", vlc("total_zeros_chroma_dc_420.csv", "tzVlcIndex", "total_zeros", 4, 4)
    yield "VlcCode kTotalZerosChromaDc422[8][8]", vlc("total_zeros_chroma_dc_422.csv", "tzVlcIndex", "total_zeros", 8, 8)
    yield "VlcCode kRunBefore[8][15]", vlc("run_before.csv", "zeros_left", "run_before", 8, 15)
    yield "uint8_t kCodedBlockPattern[2][2][48]", coded_block_pattern()
    for name, key, count in (("kZigzag4x4[16]", "zigzag_4x4", 16), ("kFieldScan4x4[16]", "field_4x4", 16),
                             ("kZigzag8x8[64]", "zigzag_8x8", 64), ("kFieldScan8x8[64]", "field_8x8", 64),
                             ("kBlockRaster[16]", "luma4x4BlkIdx", 16)):
        yield "uint8_t " + name, column("scans.csv", key, count)
    for size, count in (("4x4", 16), ("8x8", 64)):
        yield f"uint8_t kDefaultScaling{size}[2][{count}]", [
            column("default_scaling_lists.csv", f"default_{size}_{kind}", count) for kind in ("intra", "inter")]
    for size, count in (("4x4", 16), ("8x8", 64)):
        yield f"uint8_t kNormAdjust{size}[6][{count}]", by_place("norm_adjust.csv", size, "v")
    for size, count in (("4x4", 16), ("8x8", 64)):
        yield f"uint16_t kQuantFactor{size}[6][{count}]", by_place("quant_factors.csv", size, "mf")
    yield "uint8_t kChromaQp[52]", column("chroma_qp.csv", "QPC", 52)
    yield "uint8_t kAlpha[52]", column("alpha_beta.csv", "alpha_prime", 52)
    yield "uint8_t kBeta[52]", column("alpha_beta.csv", "beta_prime", 52)
    yield "uint8_t kTc0[52][4]", [(0, int(r["bS1"]), int(r["bS2"]), int(r["bS3"])) for r in rows("tc0.csv")]
    yield "LevelLimits kLevelLimits[kLevelCount]", level_limits()
    yield "AspectRatio kAspectRatio[17]", aspect_ratio()


def main():
    output = pathlib.Path(sys.argv[1]) if len(sys.argv) > 1 else ROOT / "Common" / "h264" / "h264_tables.cpp"
    with open(output, "w", encoding="utf-8") as file:
        file.write('// Written by scripts/make_h264_tables.py from data/*.csv. Do not edit.\n'
                   '#include "Common/h264/h264_tables.h"\n\nnamespace h264 {\n// clang-format off\n')
        for declaration, value in tables():
            file.write(f"\nconst {declaration} = {literal(value)};\n")
        file.write("\n// clang-format on\n} // namespace h264\n")


if __name__ == "__main__":
    main()

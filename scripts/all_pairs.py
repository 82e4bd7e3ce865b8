"""Rows in which every two values of different fields meet: found the greedy way, and the same on every run."""
import itertools
import random

TRIES = 6  # rows made for each one that is kept


def pairs_of(row):
    """The pairs that a row covers: two (field, value) each, in the order of the row's fields."""
    return set(itertools.combinations(row.items(), 2))


def candidate(fields, missing, rng):
    """A row around a missing pair: one field after another takes the value that covers most of what is missing."""
    names = list(fields)
    row = dict(next(iter(missing)))
    for name in rng.sample([n for n in names if n not in row], len(names) - len(row)):
        place = names.index(name)

        def gain(value):
            new = (name, value)
            return sum(((new, old) if place < names.index(old[0]) else (old, new)) in missing for old in row.items())

        row[name] = max(rng.sample(fields[name], len(fields[name])), key=gain)
    return {name: row[name] for name in names}


def all_pairs(fields, seed=1):
    """@param fields  {name: [value, ..]}, of which every value is hashable. @return rows, dictionaries of all fields"""
    rng, rows = random.Random(seed), []
    missing = {pair: None for a, b in itertools.combinations(fields, 2) for pair in
               itertools.product(((a, v) for v in fields[a]), ((b, v) for v in fields[b]))}
    while missing:
        candidates = [candidate(fields, missing, rng) for _ in range(TRIES)]
        row = max(candidates, key=lambda r: sum(p in missing for p in pairs_of(r)))
        for pair in pairs_of(row):
            missing.pop(pair, None)
        rows.append(row)
    return rows

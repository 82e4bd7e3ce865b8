"""What each function cost in a callgrind profile, and which functions cost more in one build of a program than in another."""
import collections
import re


class Profile:
    """Instructions of every function itself, and of the calls from each function to each other with all below them."""

    def __init__(self, text):
        self.own = collections.Counter()
        self.calls = collections.Counter()  # by caller and callee
        self._names = {}
        function = callee = None
        counts_call = False
        for line in text.splitlines():
            if line.startswith("fn="):
                function = self._name(line[3:])
            elif line.startswith("cfn="):
                callee = self._name(line[4:])
            elif line.startswith("calls="):
                counts_call = True
            elif function and re.match(r"[*+\-\d]\S* \d+$", line):
                cost = int(line.split()[1])
                if counts_call:
                    self.calls[function, callee] += cost
                else:
                    self.own[function] += cost
                counts_call = False

    def _name(self, text):
        """The name of "(12) name", or of a "(12)" after it."""
        number, _, name = text.partition(" ")
        if name:
            self._names[number] = plain_name(name)
        return self._names[number]


def plain_name(name):
    """The name without what differs between builds: parameter types, clones, recursion, the processor of a C function."""
    name = re.sub(r" \[clone [^]]*\]|'\d+$|@@?GLIBC\S*$", "", name)
    name = re.sub(r"^__(mem(?:cpy|move|set|cmp))_\w+$", r"\1", name)
    end = re.search(r"\)(?: const)?$", name)
    if not end:
        return name
    depth, start = 1, end.start()
    while depth and start > 0:
        start -= 1
        depth += {")": 1, "(": -1}.get(name[start], 0)
    return name[:start] or name


def fold(profile, common):
    """The functions' own costs. What a compiler has inlined everywhere in one build stands with its callers in both."""
    own = collections.Counter(profile.own)
    callers = collections.defaultdict(dict)
    for (caller, callee), cost in profile.calls.items():
        if caller != callee:
            callers[callee][caller] = cost
    for _ in range(len(own)):  # one level of calls a turn
        strangers = [name for name in own if name not in common and own[name] and sum(callers[name].values())]
        if not strangers:
            break
        for name in strangers:
            cost, total = own.pop(name), sum(callers[name].values())
            for caller, part in callers[name].items():
                own[caller] += cost * part / total
    return own


def excess(one, other):
    """(name, cost in one, cost in the other) of each function, those first that cost the most more in the one."""
    common = one.own.keys() & other.own.keys()
    left, right = fold(one, common), fold(other, common)
    rows = [(name, left[name], right[name]) for name in left.keys() | right.keys()]
    return sorted(rows, key=lambda row: (row[2] - row[1], row[0]))

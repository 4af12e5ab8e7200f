# SPDX-License-Identifier: Apache-2.0
"""bench/run --curves: how the time a unit grows with the text, its lines and the models."""

import re
import struct
import sys

from measure import (ROOT, UNITS, BenchError, characters, command, count_units, cpu_seconds,
                     short_line)

SIZES = (1, 2, 4, 8)
LENGTHS = (40, 400, 4_000, 40_000, 400_000, sys.maxsize)
HEADER = b"#bin,model"


def time_a_unit(program, task, text, repeat, work, folder=ROOT):
    """CPU time in ns a unit, less that of loading; and what the task made of the text."""
    given, made = work / "given", work / "made"
    run = command(program, task, given, made)
    given.write_bytes(short_line(task))
    load = min(cpu_seconds(run, folder) for _ in range(repeat))
    given.write_bytes(text)
    seconds = min(cpu_seconds(run, folder) for _ in range(repeat)) - load
    result = made.read_bytes()
    return 1e9 * seconds / count_units(task, text, result), result


def cut(task, text, length):
    """The text in lines of so many characters; of words, where a line may only end behind one."""
    if task in ("seg", "segpos"):
        units, joint = characters(text), b""
    else:
        units, joint = text.split(), b" "
    lines, line, used = [], [], 0
    for unit in units:
        if used >= length:
            lines.append(joint.join(line))
            line, used = [], 0
        line.append(unit)
        used += len(characters(unit)) + len(joint) if joint else 1
    lines.append(joint.join(line))
    return b"\n".join(lines) + b"\n"


class Fields:
    """The packed fields of a binary resource, one after another (docs/formats.md)."""

    def __init__(self, path):
        self._bytes, self._at = path.read_bytes(), len(HEADER)
        if not self._bytes.startswith(HEADER):
            raise BenchError(f"{path} is not in the binary form")

    def take(self, form):
        values = struct.unpack_from("<" + form, self._bytes, self._at)
        self._at += struct.calcsize("<" + form)
        return values

    def integer(self):
        return self.take("i")[0]

    def text(self):
        size = self.integer()
        self._at += size
        return self._bytes[self._at - size:self._at]


def integer(value):
    return struct.pack("<i", value)


def text(value):
    return integer(len(value)) + value


def enlarge_entropy_model(path, target, times):
    """Repeats the features, under names that no text asks for, with their weights."""
    fields = Fields(path)
    names = [fields.text() for _ in range(fields.integer())]
    tags = [fields.text() for _ in range(fields.integer())]
    lists = [fields.take(f"{n}i") for n in (fields.integer() for _ in names)]
    weights = fields.take(f"{fields.integer()}d")
    parts = [HEADER, integer(len(names) * times)]
    for copy in range(times):
        parts += [text(b"%d" % copy + name if copy else name) for name in names]
    parts += [integer(len(tags)), *(text(tag) for tag in tags)]
    parts += [struct.pack(f"<{len(a) + 1}i", len(a), *a) for a in lists] * times
    parts += [integer(len(weights) * times)]
    parts += [struct.pack(f"<{len(weights)}d", *weights)] * times
    target.write_bytes(b"".join(parts))


def enlarge_language_model(path, target, times):
    """Repeats the words, under names that no text has, and the n-grams over them."""
    fields = Fields(path)
    words = [(fields.text(), fields.integer()) for _ in range(fields.integer())]
    order = fields.integer()
    counts = fields.take(f"{order}i")
    top = max(number for _, number in words) + 1
    fixed = 4  # NULL, <unk>, <s>, </s>

    parts = [HEADER, integer(0)]
    entries = 0
    for copy in range(times):
        for word, number in words:
            if copy == 0 or number >= fixed:
                name = word + b"~%d" % copy if copy else word
                parts += [text(name), integer(number + copy * top if copy else number)]
                entries += 1
    parts[1] = integer(entries)

    grams, sizes = [], []
    for k, count in enumerate(counts, start=1):
        form = f"<d{k}id" if k < order else f"<d{k}i"
        section = [fields.take(form[1:]) for _ in range(count)]
        size = 0
        for copy in range(times):
            for values in section:
                numbers = values[1:k + 1]
                if copy and max(numbers) < fixed:
                    continue
                moved = [n + copy * top if n >= fixed else n for n in numbers]
                grams.append(struct.pack(form, values[0], *moved, *values[k + 1:]))
                size += 1
        sizes.append(size)
    parts += [integer(order), *(integer(size) for size in sizes), *grams]
    target.write_bytes(b"".join(parts))


def enlarge_models(times, work):
    """A folder to run in, whose data/ has models for seg of so many times the size."""
    folder = work / f"models-{times}x"
    (folder / "data").mkdir(parents=True)
    (folder / "data/binarySource").symlink_to(ROOT / "data/binarySource")
    enlarge_entropy_model(ROOT / "data/binarySegModel", folder / "data/binarySegModel", times)
    enlarge_language_model(ROOT / "data/binarySegLM", folder / "data/binarySegLM", times)
    return folder


def print_row(name, unit, cells):
    print(f"{name:<7} {unit:<10}" + "".join(
        f" {cell:>10}" if isinstance(cell, str) else f" {cell:>10,.1f}" for cell in cells),
        flush=True)


def run(program, inputs, options, work):
    print("CPU time, ns a unit, less that of loading; results go to a file.")

    print("\nAgainst the size of the text")
    print_row("task", "unit", [f"{size}x" for size in SIZES])
    for task, given in inputs.items():
        print_row(task, UNITS[task], [
            time_a_unit(program, task, given * size, options.repeat, work)[0] for size in SIZES])

    print("\nAgainst the length of the lines in characters; the first MB of the text")
    print_row("task", "unit", [f"{length:,}" for length in LENGTHS[:-1]] + ["one line"])
    for task, given in inputs.items():
        sample = re.match(rb"(?s).{0,1000000}", given)[0]
        sample = sample[:sample.rfind(b"\n") + 1] or sample
        print_row(task, UNITS[task], [
            time_a_unit(program, task, cut(task, sample, length), options.repeat, work)[0]
            for length in LENGTHS])

    if "seg" in inputs:
        print("\nAgainst the size of the models: more features, words, n-grams, none of them used")
        print_row("task", "unit", [f"{size}x" for size in SIZES])
        cells, results = [], set()
        for times in SIZES:
            nanoseconds, result = time_a_unit(program, "seg", inputs["seg"], options.repeat, work,
                                              enlarge_models(times, work))
            cells.append(nanoseconds)
            results.add(result)
        print_row("seg", UNITS["seg"], cells)
        if len(results) > 1:
            raise BenchError("a larger model changed the result")

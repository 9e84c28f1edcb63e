# SPDX-FileCopyrightText: 2026 the history-convert authors
# SPDX-License-Identifier: MIT
"""A source that contains all its mutants. The variable mutantNumber, which the environment sets, selects
one at run time: the project is compiled once and not for each mutant."""

import re

# Linked into each program. Runs before the constructors of static objects.
SELECTOR = """#include <cstdlib>
extern "C" int mutantNumber;
int mutantNumber = 0;
__attribute__((constructor(101))) static void select() {
  if (const char* number = std::getenv("MUTANT")) {
    mutantNumber = std::atoi(number);
  }
}
"""


class Pieces:
    """The new text, and which mutant each line of it belongs to."""

    def __init__(self):
        self.text = []
        self.lines = 1
        self.owners = {}

    def add(self, text, number=None):
        if number is not None:
            for line in range(self.lines, self.lines + text.count("\n") + 1):
                self.owners[line] = number
        self.lines += text.count("\n")
        self.text.append(text)


def selectable(mutant):
    """Whether a source can contain this mutant beside the original: not if it changes a type."""
    return mutant.body is not None or (mutant.operator == "constant" and
                                       not re.search(r"constexpr|using|[<\[]", mutant.before))


def schemata(text, numbered):
    """The text with the (number, mutant) pairs of `numbered` in it, and {line: number}.

    A function with mutants begins with a mutated copy of its body for each. A constant outside of functions
    becomes a conditional expression; where that is impossible, the mutant does not compile."""
    places = {}
    for number, mutant in numbered:
        place = mutant.body or (mutant.start, mutant.end)
        places.setdefault(place, []).append((number, mutant))
    pieces = Pieces()
    pieces.add('extern "C" int mutantNumber; ')
    position = 0
    for (start, end), inside in sorted(places.items()):
        pieces.add(text[position:start])
        original = text[start:end]
        for number, mutant in inside:
            mutated = text[start:mutant.start] + mutant.text + text[mutant.end:end]
            pieces.add("\n")
            if mutant.body:
                pieces.add(f"if (mutantNumber == {number}) {{ {mutated}\ngoto mutantEnd; }}", number)
            else:
                pieces.add(f"(mutantNumber == {number} ? {mutated} : {original})", number)
                original = ""
            pieces.add("\n")
        if inside[0][1].body:
            original = f"{{{original}\n}}\nmutantEnd:;\n"
        pieces.add(original)
        position = end
    pieces.add(text[position:])
    return "".join(pieces.text), pieces.owners

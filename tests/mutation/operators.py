# SPDX-FileCopyrightText: 2026 the history-convert authors
# SPDX-License-Identifier: MIT
"""The mutants of a C++ source. Relies on the layout of clang-format: blanks around binary operators, and no
blanks in types such as `char*` and `SList<Message>`."""

import re
from collections import Counter, namedtuple

# `before` and `after` are the changed lines with blanks and comments removed. `number` distinguishes mutants
# of one file that agree in both. `body` is the function body around the mutant, or None.
Mutant = namedtuple("Mutant", "operator start end text body line before after number")

# Binary operators and their replacements.
REPLACEMENTS = {
    "relational": {"<": ["<=", ">="], "<=": ["<", ">"], ">": [">=", "<="], ">=": [">", "<"],
                   "==": ["!="], "!=": ["=="]},
    "logical": {"&&": ["||"], "||": ["&&"]},
    "arithmetic": {"+": ["-"], "-": ["+"], "*": ["/"], "/": ["*"], "%": ["*"], "&": ["|"], "|": ["&"],
                   "<<": [">>"], ">>": ["<<"], "+=": ["-="], "-=": ["+="], "*=": ["/="], "/=": ["*="],
                   "&=": ["|="], "|=": ["&="]},
    "condition": {"?": ["|| true ?", "&& false ?"]},
}
JUMP = re.compile(r"(return|break|continue)\b")
LITERAL = re.compile(r"true|false|nullptr|\d+|\*this")
DECLARATION = re.compile(r"(?!return|delete|new)[\w:<>, ]*[\w>][ *&]+(const )?\w+(\[\w+\])?( = |[({;])")
PLAIN_DECLARATION = re.compile(r"constexpr .*|[\w:<>*& ]+ \w+( = (\{\}|\w+))?;", re.DOTALL)
ASSIGNMENT = re.compile(r"([\w.>-]+) = [^()\[\]*]+;")


def closing(code, start):
    """The position after the bracket that closes the one at `start`."""
    depth = 0
    for position in range(start, len(code)):
        depth += (code[position] in "([{") - (code[position] in ")]}")
        if depth == 0:
            return position + 1
    raise ValueError("unbalanced brackets")


def masked(text):
    """`text` with all that is not mutated replaced, character by character: literals by `@`; comments,
    preprocessor lines, static assertions and attributes by blanks."""
    def mask(match):
        found = match.group()
        if found[0] in "\"'":
            return found[0] + "@" * (len(found) - 2) + found[0]
        return re.sub(r"[^\n]", " ", found)

    token = r'//[^\n]*|/\*.*?\*/|"(?:\\.|[^"\\\n])*"|(?<!\w)\'(?:\\.|[^\'\\\n])+\'|^#(?:\\\n|[^\n])*'
    code = re.sub(token, mask, text, flags=re.DOTALL | re.MULTILINE)
    for match in re.finditer(r"\b(static_assert|alignas|__attribute__)(?=\()|\[(?=\[)", code):
        end = closing(code, match.end() if match.group(1) else match.start())
        end += match.group(1) == "static_assert"  # The semicolon.
        code = code[:match.start()] + re.sub(r"[^\n]", " ", code[match.start():end]) + code[end:]
    return code


class Statements:
    """The (start, end) ranges of function bodies, the statements of each block, and conditions."""

    def __init__(self, code):
        self.code = code
        self.bodies = []
        self.blocks = []
        self.conditions = []
        self._declarations(0)

    def _declarations(self, position):
        head = position
        while position < len(self.code):
            character = self.code[position]
            if character == "(":
                position = closing(self.code, position)
                continue
            position += 1
            if character == "{":
                position = self._braces(self.code[head:position - 1], position)
            elif character == "}":
                return position
            if character in "{;":
                head = position
        return position

    def _braces(self, head, position):
        """Continues after a brace outside of functions; `head` is the code before it."""
        head = re.sub(r"\btemplate <.*?>\s", "", head, flags=re.DOTALL)
        if re.search(r"\b(namespace|class|struct|union)\b[^()]*$|\bextern\s+\"@*\"\s*$", head):
            return self._declarations(position)
        if ")" in head and "=" not in head.split(")")[-1]:
            end = self._block(position)
            self.bodies.append((position, end - 1))
            return end
        return closing(self.code, position - 1)

    def _match(self, pattern, position):
        return re.compile(pattern).match(self.code, position)

    def _block(self, position):
        statements = []
        self.blocks.append(statements)
        while True:
            position = self._match(r"(\s|case\b[^;{}]*?[^:]:(?!:)|default:)*", position).end()
            if self.code[position] == "}":
                return position + 1
            end = self._statement(position)
            statements.append((position, end))
            position = end

    def _statement(self, position):
        """The end of the statement at `position`."""
        position = self._match(r"\s*", position).end()
        if self.code[position] == "{":
            return self._block(position + 1)
        keyword = self._match(r"(if constexpr|if|for|while|switch) ?\(", position)
        if keyword:
            start, end = keyword.end(), closing(self.code, keyword.end() - 1)
            if keyword.group(1) in ("if", "while"):
                self.conditions.append((start, end - 1))
            elif keyword.group(1) == "for" and self.code.count(";", start, end) == 2:
                first = self.code.index(";", start) + 1
                self.conditions.append((first, self.code.index(";", first)))
            end = self._statement(end)
            follows = self._match(r"\s*else\b", end)
            return self._statement(follows.end()) if follows else end
        if self._match(r"do\b", position):
            start = self.code.index("(", self._statement(position + 2))
            end = closing(self.code, start)
            self.conditions.append((start + 1, end - 1))
            return end + 1
        depth = 0
        while self.code[position] != ";" or depth > 0:
            if self.code[position] == "{":
                # A lambda or an initializer.
                body = self.code[:position].rstrip()[-1] in ")]"
                position = self._block(position + 1) if body else closing(self.code, position)
                continue
            depth += (self.code[position] in "([") - (self.code[position] in ")]")
            position += 1
        return position + 1


def token_changes(code, text):
    """(operator, start, end, replacement) of the operators that change one token."""
    for match in re.finditer(r"(?<=\S)\s([-+*/%&|<>=!?]{1,2})(?=\s)", code):
        for operator, table in REPLACEMENTS.items():
            for replacement in table.get(match.group(1), []):
                yield operator, *match.span(1), replacement
    for match in re.finditer(r"!(?!=)", code):
        yield "logical", *match.span(), ""
    for match in re.finditer(r"(?<=[(\[])-(?!-)|(?<=return )-|(?<=[,=?:] )-(?=\S)", code):
        yield "arithmetic", *match.span(), ""
    for match in re.finditer(r"\+\+|--", code):
        yield "arithmetic", *match.span(), "--" if match.group() == "++" else "++"
    for match in re.finditer(r"(?<![\w.\"'])(\d[\w.']*|'@+')", code):
        if not re.search(r"\)[\w ]* = $", code[:match.start()]):  # A pure virtual function.
            yield "constant", *match.span(), f"({text[match.start():match.end()]} + 1)"
    for match in re.finditer(r"\b(true|false)\b", code):
        yield "constant", *match.span(), "true" if match.group() == "false" else "false"


def condition_changes(found, text):
    for start, end in found.conditions:
        condition = text[start:end].strip()
        for value in ("true", "false") if condition else (" false",):
            if " = " not in condition:
                yield "condition", start, end, value
            elif text[:start].endswith("if ("):
                yield "condition", start, end, f"{condition}; {value}"


def statement_changes(found, code, text):
    for start, end in (statement for block in found.blocks for statement in block):
        returned = re.fullmatch(r"return\s+(.*);", text[start:end], re.DOTALL)
        if not returned and code[end - 1] == ";" and not re.match(r"(using|do)\b", code[start:end]):
            yield "deletion", start, end, ";"
        elif returned and not LITERAL.fullmatch(returned.group(1)):
            yield "return", start, end, "return {};"
            if returned.group(1)[0] != "{":
                yield "return", start, end, f"return !({returned.group(1)});"


def independent(first, second):
    """Whether the order of two statements certainly makes no difference."""
    if any(PLAIN_DECLARATION.fullmatch(statement) for statement in (first, second)):
        return True
    assigned = [ASSIGNMENT.fullmatch(statement) for statement in (first, second)]
    if all(assigned):
        return not any(re.search(rf"\b{assignment.group(1)}\b", other)
                       for assignment, other in zip(assigned, (second, first)))
    return all(DECLARATION.match(statement) for statement in (first, second))


def swaps(found, code, text):
    for block in found.blocks:
        for (start, middle), (second, end) in zip(block, block[1:]):
            first, other = code[start:middle], code[second:end]
            if not JUMP.match(first) and not JUMP.match(other) and not independent(first, other):
                yield "swap", start, end, text[second:end] + text[middle:second] + text[start:middle]


def mutants(text):
    """All mutants of a source, in the order of its lines."""
    code = masked(text)
    found = Statements(code)
    changes = {(start, end, replacement, operator) for operator, start, end, replacement in
               (*token_changes(code, text), *condition_changes(found, text),
                *statement_changes(found, code, text), *swaps(found, code, text))
               if text[start:end] != replacement.strip()}
    shown = "".join(blank if blank == " " else character for character, blank in zip(text, code))
    seen = Counter()
    for start, end, replacement, operator in sorted(changes):
        first, last = text.rfind("\n", 0, start) + 1, text.find("\n", end)
        before = " ".join(shown[first:last].split())
        after = shown[first:start] + re.sub(r"//[^\n]*\n", "\n", replacement) + shown[end:last]
        after = " ".join(after.split())
        seen[operator, before, after] += 1
        body = next((body for body in found.bodies if body[0] <= start and end <= body[1]), None)
        yield Mutant(operator, start, end, replacement, body, text.count("\n", 0, start) + 1, before, after,
                     seen[operator, before, after])

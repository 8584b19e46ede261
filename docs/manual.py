#!/usr/bin/env python3
"""Makes the section 3 manual page of a family out of its public header, whose comments are its documentation.

    manual.py HEADER DATE PAGE
"""
import re
import sys
import textwrap

COMMENT = re.compile(r"/\*\*(.*?)\*/|/\*(.*?)\*/", re.S)


def names(text):
    """Functions and data, in the order of the header."""
    bare = re.sub(r"/\*.*?\*/", "", text[text.index("push(default)"):], flags=re.S)
    bare = re.sub(r"^\s*#.*?(?<!\\)$", "", bare, flags=re.M)
    while re.search(r"\{[^{}]*\}", bare):
        bare = re.sub(r"\{[^{}]*\}", "", bare)
    found = []
    for declaration in bare.split(";"):
        if re.search(r"\btypedef\b|\benum\b[^(]*$", declaration):
            continue
        match = re.search(r"\b(\w+)\s*(\(|\[|$)", declaration.strip())
        if match and " " in declaration.strip():
            found.append(match.group(1))
    return found


def comment_text(raw):
    lines = [re.sub(r"^ ?\*(?!\*)(?: |$)", "", line.strip() if line.strip() == "*" else line.lstrip()) for line in raw.split("\n")]
    return textwrap.dedent("\n".join([lines[0].strip()] + lines[1:])).strip("\n")


def escaped(line):
    line = line.replace("\\", "\\e")
    return "\\&" + line if line[:1] in (".", "'") else line


def inline(text):
    text = escaped(re.sub(r"\s+", " ", text).strip()).replace("%%", "%")
    text = re.sub(r"\*\*(.+?)\*\*", r"\\fB\1\\fP", text)
    text = re.sub(r"`([^`]+)`", r"\\fI\1\\fP", text)
    text = re.sub(r"(?<![\w&/])#(\w+)", r"\1", text)
    # In a message in quotes no sentence ends.
    text = re.sub(r'"[^"]*"', lambda quoted: re.sub(r"(?<=[.!?]) ", r"\\ ", quoted.group()), text)
    text = re.sub(r"\b(\w+)\(\)", r"\\fI\1\\fP()", text)
    sentences = re.split(r"(?<=[^\s.][.!?]) (?=[\\A-Z\"(%])", text)
    lines = [line for sentence in sentences for line in textwrap.wrap(sentence, 78, break_long_words=False, break_on_hyphens=False)]
    return "\n".join(escaped(line) if line.startswith((".", "'")) else line for line in lines)


def literal(lines):
    return "\n".join([".Bd -literal -offset indent"] + [escaped(line.replace("%%", "%")) for line in lines] + [".Ed"])


def paragraphs(text):
    """Splits a comment at empty lines and at its commands; code and tables stay whole."""
    block, code = [], False
    for line in text.split("\n"):
        starts = re.match(r"\s*@(param|return|code|name|file|brief)\b", line)
        if line.strip().startswith("@code"):
            yield block
            block, code = [line], True
            continue
        if code:
            block.append(line)
            if line.strip() == "@endcode":
                yield block
                block, code = [], False
            continue
        if not line.strip() or starts or re.match(r"- ", line):
            yield block
            block = []
        if line.strip() and line.strip() not in ("@{", "@}"):
            block.append(line)
    yield block


def body(text):
    out, listed = [], None

    def end_list():
        nonlocal listed
        if listed:
            out.append(".El")
        listed = None

    def item(kind, head, rest):
        nonlocal listed
        if listed != kind:
            end_list()
            out.append(".Bl -tag -width 12n" if kind == "tag" else ".Bl -bullet")
            listed = kind
        out.append(head)
        out.append(inline(rest))

    for block in paragraphs(text):
        if not block:
            continue
        first, whole = block[0].strip(), " ".join(block)
        parameter = re.match(r"\s*@param\s+(\w+)\s+(.*)", whole, re.S)
        if parameter:
            item("tag", ".It Fa " + parameter.group(1), parameter.group(2))
        elif first.startswith("- "):
            item("bullet", ".It", whole.strip()[2:])
        elif first.startswith("@code"):
            end_list()
            out.append(literal(block[1:-1]))
        elif first.startswith("@return"):
            end_list()
            out += [".Pp", inline("Returns: " + whole.strip()[len("@return"):].strip())]
        elif first.startswith("@brief") or first.startswith("@file"):
            end_list()
        elif first.startswith("|") or block[0].startswith("    "):
            end_list()
            out.append(literal([line.strip() if first.startswith("|") else line[4:] for line in block]))
        else:
            end_list()
            out += [".Pp", inline(whole)]
    end_list()
    return out


def declarations(code):
    """What stands between two comments, without preprocessor lines other than #define."""
    kept = [line for line in code.split("\n")
            if not re.match(r"\s*#(?!define)|extern \"C\"|\s*}\s*$|\s*$", line) or line.startswith("}")]
    return [line for line in kept if line.strip() not in ("}", 'extern "C" {')]


def page(path, date):
    text = open(path).read()
    family = re.search(r"@file (\w+)\.h", text).group(1)
    brief = re.search(r"@brief (.*)", text).group(1).rstrip(".")
    found = names(text)
    out = [f".\\\" Made from <kavex/{family}.h>.", f".Dd {date}", f".Dt KAVEX_{family.upper()} 3", ".Os",
           ".Sh NAME", f".Nm kavex_{family} ,"]
    out += [f".Nm {name}" + (" ," if name != found[-1] else "") for name in found]
    out += [f".Nd {brief[0].lower() + brief[1:]}", ".Sh SYNOPSIS", f".In kavex/{family}.h", ".Pp",
            "Link with", ".Fl lkavex .", ".Sh DESCRIPTION"]
    guard = text.index("#pragma GCC visibility push(default)") + len("#pragma GCC visibility push(default)")
    out += body(comment_text(COMMENT.search(text).group(1)))

    rest, position, pending = text[guard:], 0, []
    depth_free = rest[:rest.index("#pragma GCC visibility pop")]
    # Comments inside of a record or an enumeration belong to its declaration.
    spans = []
    for match in COMMENT.finditer(depth_free):
        before = re.sub(r"/\*.*?\*/", "", depth_free[:match.start()], flags=re.S)
        if before.count("{") == before.count("}"):
            spans.append(match)
    for index, match in enumerate(spans):
        code = depth_free[match.end():spans[index + 1].start() if index + 1 < len(spans) else len(depth_free)]
        if match.group(1) is None:
            title = match.group(2).strip(" -\n")
            out.append(".Ss " + (title[:1].upper() + title[1:]))
        else:
            comment = comment_text(match.group(1))
            name = re.match(r"@name (.*)", comment)
            if name and out[-1].lower() != f".ss {name.group(1).lower()}":
                out.append(".Ss " + name.group(1))
            comment = re.sub(r"^@name .*\n?", "", comment)
            if comment.strip() == "@}":
                comment = ""
            lines = declarations(code)
            if lines:
                out.append(".Bd -literal")
                out += [escaped(line) for line in lines]
                out.append(".Ed")
                out += body(comment)
            else:
                out += body(comment)
            continue
        lines = declarations(code)
        if lines:
            out += [".Bd -literal"] + [escaped(line) for line in lines] + [".Ed"]
    others = [f".Xr kavex_{other} 3" for other in ("objects", "store", "users") if other != family]
    out += [".Sh SEE ALSO", ".Xr kvio 1 ,"] + [other + " ," for other in others] + [".Xr kavex.conf 5"]
    text = "\n".join(out)
    text = re.sub(r"(\.(?:Sh|Ss) .*)\n\.Pp\n", r"\1\n", text)       # no paragraph behind a heading
    text = re.sub(r"\.Pp\n(\.(?:Bd|Bl) )", r"\1", text)
    return text + "\n"


header, date, target = sys.argv[1:]
made = page(header, date)
open(target, "w").write(made)

#!/usr/bin/env python3
"""Makes the table of the emoji picker of Unicode's emoji-test.txt: emoji_table.py SOURCE TABLE.
One emoji a line with its name, below the name of its group. Those that differ from another one by
the tone of a skin alone are left out."""
import pathlib
import re
import sys

notice = """\
# Emoji and their names, of Unicode's emoji-test.txt, version {version}; made by
# tools/emoji_table.py: groups and order are kept, tones of skin and components left out.
# © 2022 Unicode®, Inc. Unicode and the Unicode Logo are registered trademarks of Unicode, Inc. in
# the U.S. and other countries. For terms of use, see https://www.unicode.org/terms_of_use.html
"""

source = pathlib.Path(sys.argv[1]).read_text(encoding="utf-8")
version = re.search(r"^# Version: (\S+)", source, re.M).group(1)
lines = []
for line in source.splitlines():
    if line.startswith("# group: "):
        group = line.removeprefix("# group: ")
        if group != "Component":
            lines.append("@" + group)
        continue
    found = re.match(r"([0-9A-F ]+?)\s*; fully-qualified\s*# \S+ E\S+ (.+)", line)
    if found and "skin tone" not in found.group(2) and group != "Component":
        emoji = "".join(chr(int(code, 16)) for code in found.group(1).split())
        lines.append(f"{emoji}\t{found.group(2)}")
pathlib.Path(sys.argv[2]).write_text(
    notice.format(version=version) + "\n".join(lines) + "\n", encoding="utf-8")

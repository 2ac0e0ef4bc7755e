"""Checks that every function of the shipped library that belongs to no
wider instruction set than the baseline holds only baseline instructions.

Kernels of a wider set live in that set's namespace (its name appears in the
function's demangled name, as a namespace or in a template argument), so the
linker can never keep a copy compiled for that set for a baseline caller.
Anything else that holds a VEX or EVEX instruction, or touches a 256-bit,
512-bit or mask register, is such a copy: the check fails and names it.
It also fails when no function of a wider set is found, which would mean the
library was built without them or the check reads nothing.

Usage: check_isa_code.py OBJDUMP LIBRARY SET...
"""
import re
import subprocess
import sys


def main():
    objdump, library, wider = sys.argv[1], sys.argv[2], sys.argv[3:]
    text = subprocess.run([objdump, "-d", "-C", "--no-show-raw-insn", library],
                          check=True, capture_output=True, text=True).stdout
    of_a_set = re.compile("::(" + "|".join(map(re.escape, wider)) + ")::")
    wide = re.compile(r"^\s*[0-9a-f]+:\s+(v[a-z0-9]+|k[a-z]+[bwdq])\b|%[yz]mm|%k[0-7]")
    function, offenders, set_functions, wide_in_sets = None, {}, 0, 0
    for line in text.splitlines():
        start = re.match(r"^[0-9a-f]+ <(.*)>:$", line)
        if start:
            function = start.group(1)
            if of_a_set.search(function):
                set_functions += 1
            continue
        if function is None or not wide.search(line):
            continue
        if of_a_set.search(function):
            wide_in_sets += 1
        else:
            offenders.setdefault(function, line.strip())
    for function, line in sorted(offenders.items()):
        print(f"baseline function with wider instructions: {function}\n    {line}")
    if offenders:
        return 1
    if set_functions == 0 or wide_in_sets == 0:
        print(f"no code of the sets {wider} found in {library}")
        return 1
    print(f"{set_functions} functions of the sets {wider}; every other function is baseline code")
    return 0


if __name__ == "__main__":
    sys.exit(main())

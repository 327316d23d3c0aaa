#!/usr/bin/env bash
# Compares the order of members and virtual functions in clang's layout dump with a golden file.
#   usage: check-layouts.sh DUMP GOLDEN FOUND
# FOUND receives what the dump says in the golden file's form: copy it over GOLDEN to accept a change.
# Offsets are left out: sizes of library types are libc++'s here and Microsoft's in a real build.
set -euo pipefail
dump=$1 golden=$2 found=$3

classes=$(sed -n 's/^\(class\|interface\) //p' "$golden")

# The members of a class: its own lines in the record dump are those indented by one step.
members() {
    awk -v class="$1" '
        /^\*\*\* Dumping AST Record Layout/ { inside = 0; next }
        $0 ~ "^ *0 \\| class " && substr($0, index($0, "| ") + 2) == "class " class { inside = 1; next }
        inside && /^ *\| \[sizeof/ { exit }
        inside && /^ *[0-9]+ \|   [^ ]/ { print "  " substr($0, index($0, "|   ") + 4) }
    ' "$dump" | sed 's/ *$//'
}

# The slots of the table that an object of the class points to.
slots() {
    awk -v class="$1" '
        /^VFTable for / {
            inside = $0 ~ "\047" class "\047 \\([0-9]+ entr" || $0 ~ "in \047" class "\047 \\([0-9]+ entr"
            next
        }
        inside && /^ *[0-9]+ \| / {
            text = substr($0, index($0, "| ") + 2)
            if (text !~ / RTTI$/) { print "  slot " slot++ ": " text }
            next
        }
        inside && /^$/ { exit }
    ' "$dump"
}

for class in $classes; do
    echo "class $class"
    members "$class"
    slots "$class"
done > "$found"

if ! diff -u "$golden" "$found"; then
    echo "The layouts have changed. If hosts agree: cp $found $golden" >&2
    exit 1
fi

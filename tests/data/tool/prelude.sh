# SPDX-License-Identifier: MIT
# What the transcripts here use. Each line "$ ..." of a transcript is run by a shell of its own; below it stands what
# it shows, standard error too, and last its exit status in brackets where that is not 0. What stands in angle
# brackets is a regular expression, in which the dot is the line end too.
exec 2>&1
unset COLUMNS
PATH=$(dirname "$TOOL"):$PATH
SHARE=$(dirname "$TOOL")/share
HEADER=$SOURCE/Tolvane_SystemApi/include/Tolvane_SystemApi.h

# sections TITLE...: the exit status of a report where it is not 0, and these sections of it
sections() {
    report=$(systemapi report $FLAGS) || echo "[$?]"
    case $report in *"$(printf '\033')"*) echo 'an escape sequence in a pipe' ;; esac
    for title in "$@"; do
        printf '%s\n' "$report" | sed -n "/^$title\$/,/^\$/{/./p}"
    done
}

# same COMMAND TEXT: whether the command prints the text
same() {
    [ "$($1)" = "$2" ] || echo "due is '$2', shown is '$($1)'"
}

# In a session and a process namespace of its own, where even a broad signal would reach nobody else.
alone() {
    ASAN_OPTIONS=$ASAN_OPTIONS:detect_leaks=0 setsid -w unshare --pid --fork "$@"
}

# json 'PATH...' ARGUMENT...: these members of the JSON object of a command, which is validated
json() {
    paths=$1
    shift
    object=$(systemapi "$@" --json 2>/dev/null)
    status=$?
    # shellcheck disable=SC2086 # a list of words
    printf '%s\n' "$object" | PYTHONUTF8=1 python3 "$DATA/validate.py" "$SOURCE/docs/systemapi.schema.json" $paths
    return $status
}

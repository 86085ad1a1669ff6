# bash completion for zel-tool, zel-dbg and the links named after a plug-in (log-control,
# log-convert). The candidates come from the tool itself: the plug-ins (-l), its option words
# (-h) and the command patterns (-a), so a pattern added to a configuration file is completed
# without a change here.

# Prints every word sequence that one pattern accepts, one a line: each optional group [..]
# taken and left out, required groups {..} opened, placeholders <..> kept.
_zel_tool_expand() {
    local optional='^([^[]*)\[([^]]*)\](.*)$' before group after
    if [[ $1 =~ $optional ]]; then
        before=${BASH_REMATCH[1]} group=${BASH_REMATCH[2]} after=${BASH_REMATCH[3]}
        _zel_tool_expand "$before $group $after"
        _zel_tool_expand "$before $after"
    else
        printf '%s\n' "${1//[\{\}]/ }"
    fi
}

# Reads word sequences and prints what may follow the typed words "$@" in each one that they
# begin: the alternatives of a literal word, or the placeholder itself.
_zel_tool_next() {
    local -a seq alternatives
    local i slot
    while read -ra seq; do
        ((${#seq[@]} > $#)) || continue
        for ((i = 0; i < $#; i++)); do
            slot=${seq[i]}
            [[ $slot == '<'* || "|$slot|" == *"|${*:i+1:1}|"* ]] || continue 2
        done
        IFS='|' read -ra alternatives <<<"${seq[$#]}"
        printf '%s\n' "${alternatives[@]}"
    done
}

# The command patterns of the tool named by $1, one a line, as "-a" lists them. "-a" lists
# none when one configuration file cannot be read; then the "command" arrays of the files of
# the configuration directory the tool reads (the system one when it can be opened) are read
# here, so that one broken file does not take the other plug-ins' completion with it. "mcu" is
# left out, as "-a" leaves it out.
_zel_tool_listed_patterns() {
    local dir='@ZEL_SYSTEM_CONF_DIR@' file text
    local key='"command"[[:space:]]*:[[:space:]]*\[(.*)' item='^[[:space:]]*"(([^"\\]|\\.)*)"[[:space:]]*([],])'
    "$1" -a 2>/dev/null | sed -n 's/^\t//p' | grep . && return
    [[ -d $dir && -r $dir ]] || dir='@ZEL_USER_CONF_DIR@'
    for file in "$dir/${1##*/}"/*.json; do
        [[ $file != */mcu.json ]] || continue
        text=$(cat "$file" 2>/dev/null)
        [[ $text =~ $key ]] || continue
        text=${BASH_REMATCH[1]}
        while [[ $text =~ $item ]]; do
            printf '%s\n' "${BASH_REMATCH[1]}"
            [[ ${BASH_REMATCH[3]} == , ]] || break
            text=${text:${#BASH_REMATCH[0]}}
        done
    done
}

# The patterns, one a line: blanks around "|" dropped, a placeholder of several words <a b>
# split into one of each <a> <b>, an empty one <> dropped.
_zel_tool_patterns() {
    _zel_tool_listed_patterns "$1" | sed -E 's/ *\| */|/g; :a; s/<([^> ]*) +([^>]*>)/<\1> <\2/; ta; s/<>//g'
}

_zel_tool() {
    local cur=${COMP_WORDS[COMP_CWORD]} prog=${COMP_WORDS[0]}
    local tool=$prog name=${prog##*/} pattern next
    local -a words=("${COMP_WORDS[@]:1:COMP_CWORD-1}")
    # Any program name but zel-tool and zel-dbg acts as "zel-tool <name> ...".
    if [[ $name != zel-tool && $name != zel-dbg ]]; then
        words=("$name" "${words[@]}")
        tool=${prog%"$name"}zel-tool
    fi
    if ((${#words[@]} == 0)); then
        next=$("$tool" -l 2>/dev/null | sed -n 's/^\t//p'
            "$tool" -h 2>/dev/null | sed -nE 's/^\t(-[^ ,]*(, -[^ ,]*)*) .*/\1/p' | tr ',' ' ')
    else
        next=$(_zel_tool_patterns "$tool" | while IFS= read -r pattern; do
            _zel_tool_expand "$pattern"
        done | _zel_tool_next "${words[@]}" | sort -u)
        # The tool's one built-in word after a plug-in name: "<plug-in> help".
        ((${#words[@]} == 1)) && [[ -n $next ]] && next+=$'\nhelp'
    fi
    mapfile -t COMPREPLY < <(compgen -W "$(grep -v '^<' <<<"$next")" -- "$cur")
    if grep -qx '<file>' <<<"$next"; then
        compopt -o filenames 2>/dev/null
        mapfile -t -O ${#COMPREPLY[@]} COMPREPLY < <(compgen -d -- "$cur"
            compgen -f -X '!*.log' -- "$cur"
            compgen -f -X '!*.log.gz' -- "$cur")
    fi
}
complete -F _zel_tool zel-tool zel-dbg log-control log-convert

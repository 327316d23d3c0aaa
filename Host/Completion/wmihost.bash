# Tab completion of wmihost for bash: source this file.
_wmihost() {
    local words=() word i found
    for ((i = 1; i < COMP_CWORD; i++)); do
        [[ ${COMP_WORDS[i]} == = ]] || words+=("$(_wmihost_plain "${COMP_WORDS[i]}")") # bash takes --log=info apart
    done
    word=${COMP_WORDS[COMP_CWORD]}
    [[ $word == = ]] && word=
    found=$("$1" complete -- "${words[@]}" "$(_wmihost_plain "$word")" 2>/dev/null) || return 0
    if [[ $found == :files ]]; then
        compopt -o filenames 2>/dev/null
        mapfile -t COMPREPLY < <(compgen -f -- "$word")
    elif [[ -n $found ]]; then
        mapfile -t COMPREPLY <<<"$found"
    fi
}

# A word as the program would get it, without its quotes.
_wmihost_plain() {
    case $1 in
    \'* | \"*)
        local quote=${1:0:1} word=${1:1}
        printf '%s' "${word%"$quote"}"
        ;;
    *) printf '%s' "${1//\\\\/\\}" ;;
    esac
}

complete -F _wmihost wmihost wmihost.exe

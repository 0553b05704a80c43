# Completes the verbs of kavfilt, their options, the words that an option takes, and file names, from what
# "kavfilt --help" and "kavfilt VERB --help" say, so that there is nothing here to keep up to date.
_kavfilt() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} verb=() help words=
    if [ "$COMP_CWORD" -gt 1 ]; then
        verb=("${COMP_WORDS[1]}")
    fi
    help=$("${COMP_WORDS[0]}" "${verb[@]}" --help 2>/dev/null) || return
    # An option that takes one of a few words: "  --pad TEXT:{mirror,zero}".
    if [[ $previous == -* ]]; then
        words=$(sed -nE "s|^  (-[a-z],)?$previous TEXT:\{([^}]*)\}.*|\2|p" <<<"$help")
    fi
    if [ -z "$words" ]; then
        # Otherwise the options, which stand before the first two spaces of their lines; and the verbs.
        words=$(sed -nE '/^Options:$/,/^$/s/^  (-[^ ]*).*/\1/p' <<<"$help" | grep -oE -- '-[a-z-]+')
        if [ "$COMP_CWORD" -eq 1 ]; then
            words+=" $(sed -nE '/^Subcommands:$/,/^$/s/^  ([a-z]+) .*/\1/p' <<<"$help")"
        elif [[ $current != -* ]]; then
            words= # File names, by default.
        fi
    fi
    mapfile -t COMPREPLY < <(compgen -W "${words//,/ }" -- "$current")
}
complete -o default -F _kavfilt kavfilt

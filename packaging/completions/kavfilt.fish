# Completes the verbs of kavfilt, their options and the words that an option takes, from what "kavfilt --help" and
# "kavfilt VERB --help" say, so that there is nothing here to keep up to date.
function __kavfilt_words
    set -l typed (commandline --tokenize --cut-at-cursor --current-process)
    set -l help ($typed[1] $typed[2..2] --help 2>/dev/null)
    set -l words
    if string match --quiet -- '-*' $typed[-1]
        # An option that takes one of a few words: "  --pad TEXT:{mirror,zero}".
        set words (string replace --filter --regex -- "^  (?:-[a-z],)?$typed[-1] TEXT:\{([^}]*)\}.*" '$1' $help)
    end
    if test -n "$words"
        string split , $words
    else
        string match --regex --all -- '-[a-z-]+' (string replace --filter --regex -- '^  (-[^ ]*).*' '$1' $help)
        if test (count $typed) -eq 1
            string replace --filter --regex -- '^  ([a-z]+) .*' '$1' $help
        else
            __fish_complete_path (commandline --current-token)
        end
    end
end
complete --command kavfilt --no-files --arguments '(__kavfilt_words)'

# fish completion for pellora-companion, pellora-for-messages and pellora-sample-store. Installed once per program.
function __pellora_candidates
    set -l words (commandline -opc) (commandline -ct)
    set -l finder $PELLORA_COMPLETION
    test -n "$finder"; or set finder (path dirname (path resolve (command -v $words[1])))/../share/pellora-for-messages/candidates
    for candidate in ($finder $words[1] $words[2..-1] 2>/dev/null)
        if test $candidate = //files
            __fish_complete_path (commandline -ct)
        else
            echo $candidate
        end
    end
end
for program in pellora-companion pellora-for-messages pellora-sample-store
    complete -c $program -f -a '(__pellora_candidates)'
end

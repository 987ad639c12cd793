# What fish completes: fish completion.fish SCRIPT, the installed completion.
source $argv[1]; or exit 1

# Words as they were typed, and all completions of the last of them.
function expect
    set -l completions (complete -C $argv[1] | cut -f 1 | string join " ")
    if test "$completions" != $argv[2]
        echo "$argv[1]: $completions"
        exit 1
    end
end

expect "meterdb rou" route
expect "meterdb --user 0815 re" "read report"
expect "meterdb archive " "add delete extract list"
expect "meterdb archive extract --o" --output
expect "meterdb check --fi" --fix
expect "meterdb show 3 --la" --language
expect "meterdb nothing" ""

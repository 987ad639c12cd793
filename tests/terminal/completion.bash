# What bash completes: bash completion.bash SCRIPT, the installed completion.
set -u
source "$1" || exit 1
complete -p meterdb || exit 1

# WORDS as they were typed, the last of them still open: "WORDS=COMPLETIONS".
for typed in "meterdb rou=route" \
    "meterdb --user 0815 re=read report" \
    "meterdb archive ex=extract" \
    "meterdb archive extract --o=--output" \
    "meterdb check --fi=--fix" \
    "meterdb show 3 --la=--language" \
    "meterdb nothing="; do
    read -ra COMP_WORDS <<<"${typed%%=*}"
    COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
    _meterdb
    if [ "${COMPREPLY[*]-}" != "${typed#*=}" ]; then
        echo "${typed%%=*}: ${COMPREPLY[*]-}"
        exit 1
    fi
done

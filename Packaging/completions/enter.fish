complete -c enter -f -n 'not contains -- -- (commandline -opc)' -a "(enter --list 2>/dev/null | string replace -r '  +' \t)"
complete -c enter -l records -r -F -d 'append a line for each call of a stand-in'
complete -c enter -l set -x -d 'override a setting of the scenario'
complete -c enter -l user-namespace -d 'make a user namespace even for root'
complete -c enter -l print -d 'print the effective settings'
complete -c enter -l list -d 'list the scenarios'
complete -c enter -l help -d 'show a summary'

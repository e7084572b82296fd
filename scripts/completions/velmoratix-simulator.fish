# Completion of velmoratix-simulator for fish. Made by velmoratix-simulator --print fish.
complete -c velmoratix-simulator -f
complete -c velmoratix-simulator -l machine -d 'the machine: a name (see Simulator/Machines) or a file' -r -F -a '(velmoratix-simulator --print machines)'
complete -c velmoratix-simulator -l display -d 'plugs in one more display, made from a raw EDID file; may be repeated' -r -F
complete -c velmoratix-simulator -l home -d 'the user\'s home folder; without it a temporary one that goes afterwards' -x -a '(__fish_complete_directories)'
complete -c velmoratix-simulator -l script -d 'plays a scenario, "-" from standard input' -r -F
complete -c velmoratix-simulator -l journal -d 'writes every call that changed something on the machine there' -r -F
complete -c velmoratix-simulator -l log -d 'writes what the daemon logs there' -r -F
complete -c velmoratix-simulator -l help -d 'prints the options and ends; -h for short'
complete -c velmoratix-simulator -l version -d 'prints the version and ends'

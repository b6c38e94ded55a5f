# Completion of meeting-client for fish.

set -l subcommands started stopped quit watch record

complete -c meeting-client -f
complete -c meeting-client -l help -d 'Print the help'
complete -c meeting-client -n "not __fish_seen_subcommand_from $subcommands" -l version -d 'Print the version'

complete -c meeting-client -n "not __fish_seen_subcommand_from $subcommands" -a started -d 'A process is writing a recording'
complete -c meeting-client -n "not __fish_seen_subcommand_from $subcommands" -a stopped -d 'The file it was writing is complete'
complete -c meeting-client -n "not __fish_seen_subcommand_from $subcommands" -a quit -d 'It quits: convert its recordings'
complete -c meeting-client -n "not __fish_seen_subcommand_from $subcommands" -a watch -d 'Print every notification'
complete -c meeting-client -n "not __fish_seen_subcommand_from $subcommands" -a record -d 'Play a whole meeting'

complete -c meeting-client -n '__fish_seen_subcommand_from started stopped quit' -l pid -x -a '(__fish_complete_pids)' -d 'Process id of the meeting process'
complete -c meeting-client -n '__fish_seen_subcommand_from started stopped quit' -l object -x -d 'Object of the notification'
complete -c meeting-client -n '__fish_seen_subcommand_from started stopped quit' -l wait -x -d 'Seconds to wait for the acknowledgement'
complete -c meeting-client -n '__fish_seen_subcommand_from started' -l path -r -F -d 'The recording'

complete -c meeting-client -n '__fish_seen_subcommand_from watch' -l json -d 'One JSON object per line'
complete -c meeting-client -n '__fish_seen_subcommand_from watch' -l count -x -d 'End after this many notifications'
complete -c meeting-client -n '__fish_seen_subcommand_from watch' -l timeout -x -d 'End after this many seconds'

complete -c meeting-client -n '__fish_seen_subcommand_from record' -l out -r -F -d 'The recording'
complete -c meeting-client -n '__fish_seen_subcommand_from record' -l recordings -x -d 'How many'
complete -c meeting-client -n '__fish_seen_subcommand_from record' -l seconds -x -d 'Length of each'
complete -c meeting-client -n '__fish_seen_subcommand_from record' -l crash -d 'Die in the middle of the last one'
complete -c meeting-client -n '__fish_seen_subcommand_from record' -l converter -r -F -d 'The converter to launch'
complete -c meeting-client -n '__fish_seen_subcommand_from record' -l converter-log -r -F -d 'File for its standard error'
complete -c meeting-client -n '__fish_seen_subcommand_from record' -l keep -x -a '0 1' -d 'Value of -keepsIntermediateFile'
complete -c meeting-client -n '__fish_seen_subcommand_from record' -l locale -x -d 'Language, 1 to 20'
complete -c meeting-client -n '__fish_seen_subcommand_from record' -l pname -x -d 'Name of this meeting process'
complete -c meeting-client -n '__fish_seen_subcommand_from record' -l picture -x -a 'h264 vp8' -d 'Codec of the video'
complete -c meeting-client -n '__fish_seen_subcommand_from record' -l ffmpeg -r -F -d 'The program that records'
complete -c meeting-client -n '__fish_seen_subcommand_from record' -l wait -x -d 'Seconds to wait for each acknowledgement'

# Completion of convert-recording for fish.

complete -c convert-recording -l help -d 'Print the help'
complete -c convert-recording -l version -d 'Print the version'
complete -c convert-recording -l keep -d 'Keep the recordings'
complete -c convert-recording -l force -d 'Convert even a file that is still being written'
complete -c convert-recording -l pending -d 'Convert what record converters left'
complete -c convert-recording -l json -d 'One JSON object per file'

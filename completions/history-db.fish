# SPDX-FileCopyrightText: 2026 the history-convert authors
# SPDX-License-Identifier: MIT

# Completion of history-db for fish.

set -l tables 'TormaQuilletHistory nativeZoneHistory ZoneHistory'

complete -c history-db -s h -l help -d 'Print what it takes and end'
complete -c history-db -n __fish_use_subcommand -l version -d 'Print the version and end'

complete -c history-db -f -n __fish_use_subcommand -a info -d 'Tell what database files hold'
complete -c history-db -f -n __fish_use_subcommand -a check -d 'Tell everything that is wrong with database files'
complete -c history-db -f -n __fish_use_subcommand -a dump -d 'Print all records of a database, field by field'
complete -c history-db -f -n __fish_use_subcommand -a load -d 'Write a database from what dump printed'
complete -c history-db -f -n __fish_use_subcommand -a verify -d 'Prove a conversion from schema 0 to 1'
complete -c history-db -f -n __fish_use_subcommand -a migrate -d 'Convert a database to schema 1, with care'
complete -c history-db -f -n __fish_use_subcommand -a sample -d 'Write a database with made-up histories'
complete -c history-db -f -n __fish_use_subcommand -a plot -d 'Draw the days and months of a record'
complete -c history-db -f -n __fish_use_subcommand -a copy -d 'Write a compact copy, of what can be read'

complete -c history-db -n '__fish_seen_subcommand_from info check verify' -l json -d 'Print JSON'
complete -c history-db -n '__fish_seen_subcommand_from info check verify migrate' -s q -l quiet -d 'Tell nothing but the status and trouble'
complete -c history-db -n '__fish_seen_subcommand_from info check' -x -s j -l jobs -d 'Work on so many files at the same time'
complete -c history-db -n '__fish_seen_subcommand_from load verify migrate sample plot copy' -s f -l force -d 'Replace a file that exists'

complete -c history-db -n '__fish_seen_subcommand_from dump' -x -l format -a 'json jsonl csv' -d 'How to print it'
complete -c history-db -n '__fish_seen_subcommand_from dump plot' -x -l table -a $tables -d 'The table'
complete -c history-db -n '__fish_seen_subcommand_from dump plot' -x -l key -d 'The record'

complete -c history-db -n '__fish_seen_subcommand_from verify' -r -F -l receipt -d 'Write a receipt to this file'

complete -c history-db -n '__fish_seen_subcommand_from migrate' -r -F -l output -d 'Write the result here and leave the file alone'
complete -c history-db -n '__fish_seen_subcommand_from migrate' -r -F -l converter -d 'The program to convert with'
complete -c history-db -n '__fish_seen_subcommand_from migrate' -s n -l dry-run -d 'Try all of it, but leave everything as it is'

complete -c history-db -n '__fish_seen_subcommand_from sample' -x -l schema -a '0 1' -d 'Schema of the records'
complete -c history-db -n '__fish_seen_subcommand_from sample' -x -l systems -d 'How many systems'
complete -c history-db -n '__fish_seen_subcommand_from sample' -x -l zones -d 'How many zones'
complete -c history-db -n '__fish_seen_subcommand_from sample' -x -l native-zones -d 'How many native zones'
complete -c history-db -n '__fish_seen_subcommand_from sample' -x -l seed -d 'Another number, other histories'
complete -c history-db -n '__fish_seen_subcommand_from sample' -l label -d 'Have every value tell where it belongs'

complete -c history-db -n '__fish_seen_subcommand_from plot' -x -l field -d 'Fields such as minA,maxA'
complete -c history-db -n '__fish_seen_subcommand_from plot' -r -F -s o -l output -d 'The file to write'
complete -c history-db -n '__fish_seen_subcommand_from plot' -l terminal -d 'Draw with characters instead'
complete -c history-db -n '__fish_seen_subcommand_from plot' -l ascii -d 'Use no other characters than ASCII'

# Completion of ambrel for fish.

# The arguments so far that are no options.
function __ambrel_path
    set -l words (commandline -opc)
    set -e words[1]
    set -l valued -o --{config,service,mdns,only,without,location,outcome,details,output,format,color,columns,type,name,every,threshold,since,until,replay,speed,keep}
    set -l skips no
    set -l ended no
    for word in $words
        if test $skips = yes
            set skips no
        else if test $ended = no; and test "$word" = --
            set ended yes
        else if test $ended = no; and contains -- $word $valued
            set skips yes
        else if test $ended = yes; or not string match -q -- '-?*' $word
            printf '%s\n' $word
        end
    end
end

# Whether exactly one of these stands there so far: 'store show'.
function __ambrel_at
    set -l path (__ambrel_path)
    contains -- "$path" $argv
end

# Whether one of these is the command, whatever stands behind it.
function __ambrel_in
    set -l path (__ambrel_path)
    test "$path[1]" = store; and set path[1] "$path[1..2]"
    contains -- "$path[1]" $argv
end

function __ambrel_list
    set -l chosen (commandline -ct | string replace -r -- '^--[a-z]+=' '' | string split ,)
    set -e chosen[-1]
    for name in $argv
        contains -- $name $chosen; or string join , -- $chosen $name
    end
end

# The newest saved timestamps that begin with what is typed, with their local times, newest first: by the names of the
# files, no file is read.
function __ambrel_timestamps
    set -l tool (commandline -opc | string replace -r '^~/' "$HOME/")[1]
    set -l folder ($tool --config /dev/null store path 2>/dev/null); or return
    set -l saved (command ls -f $folder 2>/dev/null |
        awk -v start=(commandline -ct | string replace -r -- '^--[a-z]+=' '' | string collect -a) '
            /^-?[0-9]+(\.[0-9]+)?(e[-+][0-9]+)?$/ { sub(/\.0$/, ""); if (index($0, start) == 1) print }
        ' | LC_ALL=C sort -rg | head -n 200)
    set -q saved[1]; or return
    set -l days (printf '@%s\n' $saved | date -f - '+%F %T' 2>/dev/null)
    for i in (seq (count $saved))
        printf '%s\t%s\n' $saved[$i] "$days[$i]"
    end
end

complete -c ambrel -f
complete -c ambrel -s h -l help -d 'Print the help'
complete -c ambrel -n '__ambrel_at ""' -l version -d 'Print the version'
complete -c ambrel -n '__ambrel_at ""' -l config -rF -d 'Take what options leave open from this file'
complete -c ambrel -n '__ambrel_at ""' -l print-config -d 'Print what holds for every option'

for row in 'scan	Take one collection and print it' 'watch	Take one now, and when device or user come back' \
    'live	Show on the whole terminal what comes and goes' \
    'record	Take one, and write a script that replays it' 'replay	Run a script, and print what the kit did' \
    'store	Keep collections in files' 'report	Make one page of the saved collections' \
    'doctor	Say whether each source works here' 'help	Print the help of a command'
    set -l column (string split \t $row)
    complete -c ambrel -n '__ambrel_at "" help' -a $column[1] -d $column[2]
end
for row in 'list	List the saved collections' 'show	Print one saved collection' \
    'last	Print the newest saved collection' 'save	Save dictionaries' \
    'delete	Delete one saved collection' 'export	Print the saved collections' \
    'diff	Print what differs between two collections' 'prune	Remove old collections' \
    'path	Print the directory of the files'
    set -l column (string split \t $row)
    complete -c ambrel -n '__ambrel_at store "help store"' -a $column[1] -d $column[2]
end
complete -c ambrel -n '__ambrel_at record replay "store save"' -F
complete -c ambrel -n '__ambrel_at "store show" "store delete"' -k -a '(echo last; __ambrel_timestamps)'
complete -c ambrel -n '__ambrel_in "store diff"' -F -k -a '(echo last; __ambrel_timestamps)'

set -l collects '__ambrel_in scan watch record'
set -l types '
    _http._tcp _https._tcp _ipp._tcp _ipps._tcp _printer._tcp _pdl-datastream._tcp _uscan._tcp
    _airplay._tcp _raop._tcp _googlecast._tcp _spotify-connect._tcp _hap._tcp _matter._tcp _matterc._udp
    _mqtt._tcp _home-assistant._tcp _ssh._tcp _sftp-ssh._tcp _smb._tcp _nfs._tcp _workstation._tcp'
set -l sees '__ambrel_in scan watch live record'
complete -c ambrel -n $sees -l service -x -d 'Look for this DNS-SD type' -a "all $types"
complete -c ambrel -n $sees -l only -x -a '(__ambrel_list bluetooth location network)' -d 'Grant only these'
complete -c ambrel -n $sees -l without -x -a '(__ambrel_list bluetooth location network)' -d 'Refuse these'
complete -c ambrel -n $collects -l save -d 'Save what is delivered too'
complete -c ambrel -n $collects -l outcome -rF -d 'Write how each source fared'
complete -c ambrel -n $collects -l strict -d 'Exit status 3 when a source could not listen'
complete -c ambrel -n $collects -l details -rF -d 'Write every report too'
complete -c ambrel -n $collects -l progress -d 'Show the progress though the output is a pipe'
complete -c ambrel -n $collects -l quiet -d 'No progress, no notes'
complete -c ambrel -n '__ambrel_in watch' -l every -x -d 'Also collect at this interval: 15m'
complete -c ambrel -n '__ambrel_in live' -l replay -rF -d 'Show what a script has happen'
complete -c ambrel -n '__ambrel_in live' -l speed -x -d 'So many times as fast: 4'
complete -c ambrel -n '__ambrel_in watch' -l threshold -x -d 'Reuse a collection this young, 0 to 30 s'
complete -c ambrel -n '__ambrel_in watch' -l changes -d 'Print what appeared, changed or went'

set -l examined bluetooth services location address wifi lifecycle network
complete -c ambrel -n '__ambrel_in doctor' -l only -x -a "(__ambrel_list $examined)" -d 'Examine only these'
complete -c ambrel -n '__ambrel_in doctor' -l without -x -a "(__ambrel_list $examined)" -d 'Examine all but these'
complete -c ambrel -n '__ambrel_in scan watch live record doctor' -l location -x -a 'auto geoclue gpsd none' \
    -d 'Where a fix is from'
complete -c ambrel -n '__ambrel_in scan watch live record doctor' -l mdns -x -a 'auto daemon embedded' \
    -d 'By whose mDNS services are found'
complete -c ambrel -n '__ambrel_in "store diff"' -l format -x -a 'text json-patch' -d 'How it is written'
set -l prints '__ambrel_in scan watch record "store show" "store last"'
set -l lists '__ambrel_in doctor "store list"'
complete -c ambrel -n $prints -l format -x -a 'json pretty table' -d 'How it is written'
complete -c ambrel -n $lists -l format -x -a 'table json' -d 'How it is written'
complete -c ambrel -n '__ambrel_in live "store diff"' -l color -x -a 'auto always never' -d 'Whether in colours'
for print in $prints $lists
    complete -c ambrel -n $print -l json -d 'As JSON on one line'
    complete -c ambrel -n $print -l color -x -a 'auto always never' -d 'Whether in colours'
end
complete -c ambrel -n $prints -l pretty -d 'As indented JSON'
complete -c ambrel -n $prints -l columns -x -a '(__ambrel_list name identifier seen type address txt)' -d 'Print these columns alone'
complete -c ambrel -n $prints -l type -x -a $types -d 'Print services of this type alone'
complete -c ambrel -n $prints -l name -x -d 'Print what has this in its name alone'
complete -c ambrel -n '__ambrel_in "store list"' -l columns -x -d 'Print these columns alone' \
    -a '(__ambrel_list timestamp local-time age peripherals services location address wi-fi)'

complete -c ambrel -n '__ambrel_in "store export"' -l format -x -a 'ndjson csv geojson' -d 'How it is written'
complete -c ambrel -n '__ambrel_in "store prune"' -l keep -x -a '1w 30d 100' -d 'How old, or how many of the newest'
complete -c ambrel -n '__ambrel_in "store prune"' -l dry-run -d 'Only say which would go'
complete -c ambrel -n '__ambrel_in replay' -l queries -d 'Print the questions to the host too'
complete -c ambrel -n '__ambrel_in replay' -l quiet -d 'Print the delivered dictionaries only'
complete -c ambrel -n '__ambrel_in "store list" "store export" report' -l since -x -k -a '(__ambrel_timestamps)' -d 'Not those before this time'
complete -c ambrel -n '__ambrel_in "store list" "store export" report' -l until -x -k -a '(__ambrel_timestamps)' -d 'Not those after this time'
complete -c ambrel -n '__ambrel_in report' -s o -l output -rF -d 'The file of the page'

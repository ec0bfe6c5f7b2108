# Completion of ambrel for bash 4.2 and later; it needs nothing of the bash-completion package.

# The options of a command: _ambrel_options COMMAND [SUBCOMMAND]
_ambrel_options() {
    local collection='--service --mdns --only --without --location --save --outcome --strict --details --progress --quiet'
    local output='--format --json --pretty --color --columns --type --name'
    case "$*" in
    '') echo --help --version --config --print-config ;;
    scan | record) echo --help "$collection" "$output" ;;
    live) echo --help --service --mdns --only --without --location --color --replay --speed ;;
    watch) echo --help --every --threshold --changes "$collection" "$output" ;;
    replay) echo --help --queries --quiet ;;
    doctor) echo --help --only --without --mdns --location --format --json --color ;;
    'store show' | 'store last') echo --help "$output" ;;
    'store diff') echo --help --format --color ;;
    'store list') echo --help --since --until --format --json --color --columns ;;
    'store export') echo --help --since --until --format ;;
    'store prune') echo --help --keep --dry-run ;;
    report) echo --help --since --until --output ;;
    *) echo --help ;;
    esac
}

# What may stand at the next place that is no option's: words, and at their end `-f` for a file.
_ambrel_arguments() {
    case "$*" in
    '' | help) echo scan watch live record replay store report doctor help ;;
    store | 'help store') echo list show last save delete export diff prune path ;;
    'store show' | 'store delete') echo last && _ambrel_timestamps "$current" ;;
    'store diff' | 'store diff '*) (($# > 3)) || echo last "$(_ambrel_timestamps "$current")" -f ;;
    record | replay | 'store save') echo -f ;;
    esac
}

# What the values of an option have between commas: _ambrel_list OPTION COMMAND [SUBCOMMAND]
_ambrel_list() {
    case "$*" in
    '--columns store list') echo timestamp local-time age peripherals services location address wi-fi ;;
    --columns*) echo name identifier seen type address txt ;;
    *doctor) echo bluetooth location network services address wifi lifecycle ;;
    *) echo bluetooth location network ;;
    esac
}

# The values of an option: _ambrel_values OPTION VALUE COMMAND [SUBCOMMAND]
_ambrel_values() {
    local option=$1 value=$2 chosen name
    shift 2
    case $option in
    --outcome | --details | --replay | --config | --output | -o) echo -f ;;
    --location) echo auto geoclue gpsd none ;;
    --mdns) echo auto daemon embedded ;;
    --keep) echo 1w 30d 100 ;;
    --since | --until) _ambrel_timestamps "$value" ;;
    --service | --type)
        [[ $option == --type ]] || echo all
        echo _http._tcp _https._tcp _ipp._tcp _ipps._tcp _printer._tcp _pdl-datastream._tcp _uscan._tcp \
            _airplay._tcp _raop._tcp _googlecast._tcp _spotify-connect._tcp _hap._tcp _matter._tcp _matterc._udp \
            _mqtt._tcp _home-assistant._tcp _ssh._tcp _sftp-ssh._tcp _smb._tcp _nfs._tcp _workstation._tcp
        ;;
    --format)
        case "$*" in
        doctor | 'store list') echo table json ;;
        'store diff') echo text json-patch ;;
        'store export') echo ndjson csv geojson ;;
        *) echo json pretty table ;;
        esac
        ;;
    --color) echo auto always never ;;
    --only | --without | --columns)
        chosen=
        [[ $value != *,* ]] || chosen=${value%,*},
        for name in $(_ambrel_list "$option" "$@"); do
            [[ ,$chosen == *,$name,* ]] || echo "$chosen$name"
        done
        ;;
    esac
}

# The newest saved timestamps that begin with a text, by the names of the files: no file is read.
_ambrel_timestamps() {
    local folder
    folder=$("$tool" --config /dev/null store path 2>/dev/null </dev/null) || return
    command ls -f "$folder" 2>/dev/null | awk -v start="$1" '
        /^-?[0-9]+(\.[0-9]+)?(e[-+][0-9]+)?$/ { sub(/\.0$/, ""); if (index($0, start) == 1) print }
    ' | LC_ALL=C sort -rg | head -n 200
}

_ambrel() {
    local IFS=$' \n' tool=${1/#\~\//$HOME/} breaks='^[=:]+$' valued='^(-o|--(config|service|mdns|only|without|location|outcome|details|output|format|color|columns|type|name|every|threshold|since|until|replay|speed|keep))$'
    # Readline breaks words at = and :, and completes what is behind the last of them.
    local words=() joined='' raw=''
    for raw in "${COMP_WORDS[@]:1:COMP_CWORD}"; do
        if [[ ${#words[@]} -gt 0 && ( -n $joined || $raw =~ $breaks ) ]]; then
            words[${#words[@]} - 1]+=$raw
        else
            words+=("$raw")
        fi
        joined=
        [[ ! $raw =~ $breaks ]] || joined=yes
    done
    local current=${words[${#words[@]} - 1]} kept
    kept=${current%"$raw"}
    [[ ! $raw =~ $breaks ]] || kept=$current
    unset 'words[${#words[@]}-1]'

    local path=() option='' word ended=''
    for word in "${words[@]}"; do
        if [[ -n $option ]]; then
            option=
        elif [[ -z $ended && $word == -- ]]; then
            ended=yes
        elif [[ -z $ended && $word =~ $valued ]]; then
            option=$word
        elif [[ -n $ended || $word != -?* ]]; then
            path+=("$word")
        fi
    done

    local command=("${path[@]:0:1}") value=$current front='' text offers=()
    [[ ${path[0]-} != store ]] || command=("${path[@]:0:2}")
    if [[ -z $option$ended && $current == --*=* ]]; then
        option=${current%%=*} value=${current#*=} front=$option=
    fi
    if [[ -n $option ]]; then
        text=$(_ambrel_values "$option" "$value" "${command[@]}")
        [[ $option != --only && $option != --without && $option != --columns ]] || compopt -o nospace
    else
        text=$(_ambrel_arguments "${path[@]}")
        [[ -n $ended || ( -n $text && $current != -* ) ]] || text+=" $(_ambrel_options "${command[@]}")"
    fi
    COMPREPLY=()
    [[ $text != *-f ]] || compopt -o default # readline itself knows how to quote a file's name
    read -rd '' -a offers <<<"$text"
    for word in "${offers[@]}"; do
        [[ $word == -f || $word != "$value"* ]] || COMPREPLY+=("${front}$word")
    done
    COMPREPLY=("${COMPREPLY[@]#"$kept"}")
}

complete -F _ambrel ambrel

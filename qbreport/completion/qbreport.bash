# Completion of qbreport for bash.
_qbreport() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} command=${COMP_WORDS[1]}
    local data='-d --data --data-kind --connection --query -P --parameter'
    local engine='--font-folder --allow-folder --allow-host --time-limit --budget --setup-folder'
    local format='-o --output -f --format --pages --layout --resolution --option'
    local messages='--log -q --quiet --help'
    local flags="$messages" words='' files=''
    COMPREPLY=()
    if ((COMP_CWORD == 1)); then
        COMPREPLY=($(compgen -W 'render burst collect extract check info new watch serve fonts formats --help --version' -- "$current"))
        return
    fi
    case $previous in
        -f | --format) words='pdf xlsx xls ods docx rtf html txt csv json tiff png' ;;
        --layout) words='pages table grid' ;;
        --log) words='text json' ;;
        --on-error) words='skip stop' ;;
        --data-kind) words='json jsonl xml csv' ;;
        --option) words='page-breaks= page-headers= all-in-one= whole-fonts= csv.defuse= csv.values= csv.separator=
            csv.quotes= text.line-ends= text.encoding= txt.widths= standard= ua= created=' ;;
        --budget) words='wall-time= cpu-time= data-memory= cells= name-length= fetches= fetch-time= fetched-bytes=
            pages= page-items= pixels= picture-scans= template-elements= document-size=' ;;
        --font-folder | --allow-folder | --setup-folder) COMPREPLY=($(compgen -d -- "$current")); return ;;
        --templates) COMPREPLY=($(compgen -d -- "$current")); return ;;
        -d | --data | -o | --output | --manifest | --metrics | --token-file) COMPREPLY=($(compgen -f -- "$current")); return ;;
        --pages | --resolution | -P | --parameter | --query | --connection | --allow-host | --time-limit | \
            --by | --total | --shard | -j | --workers | --listen | --server-name | --queue | --memory | --body-limit) return ;;
    esac
    if [[ $words ]]; then
        COMPREPLY=($(compgen -W "$words" -- "$current"))
        compopt +o filenames  # which would escape "="
        [[ ${COMPREPLY[*]} == *= ]] && compopt -o nospace
        return
    fi
    case $command in
        render) flags="$data $engine $messages $format --strict" files=1 ;;
        burst) flags="$data $engine $messages $format --strict --by --total -j --workers --manifest --resume --shard
            --on-error --metrics" files=1 ;;
        collect) flags="$data $engine $messages"; COMPREPLY=($(compgen -d -- "$current")) ;;
        extract) flags="$messages -o --output"; COMPREPLY=($(compgen -f -- "$current")) ;;
        check) flags="$data $engine $messages --strict" files=1 ;;
        info) flags="$data $engine $messages --json" files=1 ;;
        new) flags="$messages --force" words='invoice list labels letter statement' ;;
        watch) flags="$data $engine $messages --listen" files=1 ;;
        serve) flags="$messages ${engine% --setup-folder} --templates --listen --token-file --server-name -j --workers
            --queue --memory --body-limit" ;;
        fonts) flags="$messages --font-folder" ;;
    esac
    if [[ $current == -* ]]; then
        COMPREPLY=($(compgen -W "$flags" -- "$current"))
    elif [[ $files ]]; then
        COMPREPLY=($(compgen -f -X '!*.qbf' -- "$current") $(compgen -d -S / -- "$current"))
    elif [[ $words ]]; then
        COMPREPLY=($(compgen -W "$words" -- "$current"))
    fi
}
complete -o filenames -F _qbreport qbreport

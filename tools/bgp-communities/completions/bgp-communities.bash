# Completion of bgp-communities for bash.

_bgp_communities() {
    local word=$2 before=$3 options=
    local commands="decode read stats roundtrip replay stash show merge diff export report types"
    COMPREPLY=()
    if ((COMP_CWORD == 1)); then
        mapfile -t COMPREPLY < <(compgen -W "$commands --help --version" -- "$word")
        return
    fi
    case $before in
        --type)
            mapfile -t COMPREPLY < <(compgen -W "8 16 25 32" -- "$word")
            return
            ;;
        --format)
            mapfile -t COMPREPLY < <(compgen -W "text tsv json" -- "$word")
            return
            ;;
        --family)
            mapfile -t COMPREPLY < <(compgen -W "ipv4 ipv6 ipv4-unicast ipv6-unicast ipv4-vpn \
                ipv6-vpn l2vpn-evpn" -- "$word")
            return
            ;;
        --kind)
            mapfile -t COMPREPLY < <(compgen -W "standard extended ipv6 large" -- "$word")
            return
            ;;
        --by)
            mapfile -t COMPREPLY < <(compgen -W "peer as family hour" -- "$word")
            return
            ;;
        --add-path)
            mapfile -t COMPREPLY < <(compgen -W "yes no auto" -- "$word"; compgen -f -- "$word")
            return
            ;;
        --match | --community | --prefix | --exact | --covers | --since | --until | --peer | \
            --origin-as | --as-path | --limit | --jobs | --top)
            return
            ;;
        --out | --dictionary | --sqlite)
            mapfile -t COMPREPLY < <(compgen -f -- "$word")
            return
            ;;
    esac
    case ${COMP_WORDS[1]} in
        decode) options="--type --json --forms --dictionary" ;;
        read)
            options="--format --json --full --dictionary --since --until --peer --family --prefix
                --exact --covers --origin-as --as-path --announced --withdrawn --kind --community
                --match --limit --add-path --verbose"
            ;;
        stats) options="--json --top --by --jobs --add-path --verbose" ;;
        roundtrip) options="--json --add-path --verbose" ;;
        replay) options="--targets --add-path --verbose" ;;
        stash) options="--out --add-path --verbose" ;;
        show) options="--json --follow --dictionary" ;;
        merge) options="--out" ;;
        diff) options="--json --add-path --verbose" ;;
        export) options="--sqlite --add-path --verbose" ;;
        report) options="--out --top --add-path --verbose" ;;
        types) options="--json" ;;
    esac
    if [[ $word == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$options --help" -- "$word")
    elif [[ ${COMP_WORDS[1]} != @(decode|types) ]]; then
        mapfile -t COMPREPLY < <(compgen -f -- "$word")
    fi
}

complete -o filenames -F _bgp_communities bgp-communities

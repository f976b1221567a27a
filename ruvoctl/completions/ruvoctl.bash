# Completion of ruvoctl's arguments for bash. It uses nothing of the bash-completion
# package, which only loads it, so it may be sourced alone.
# shellcheck shell=bash

# Sets ruvoctl_plain to what the shell makes of a word, without expanding anything. When
# a quote is still open at its end, ruvoctl_quote is that quote and ruvoctl_before what
# stands before it.
_ruvoctl_unquote() {
    local word=$1 char i
    ruvoctl_plain='' ruvoctl_quote='' ruvoctl_before=''
    for ((i = 0; i < ${#word}; i++)); do
        char=${word:i:1}
        if [[ $char == \\ && $ruvoctl_quote != \' ]]; then
            if [[ -z $ruvoctl_quote || ${word:i+1:1} == [\$\`\"\\] ]]; then
                i=$((i + 1))
            fi
            ruvoctl_plain+=${word:i:1}
        elif [[ -n $ruvoctl_quote && $char == "$ruvoctl_quote" ]]; then
            ruvoctl_quote=''
        elif [[ -z $ruvoctl_quote && $char == [\"\'] ]]; then
            ruvoctl_quote=$char ruvoctl_before=$ruvoctl_plain
        else
            ruvoctl_plain+=$char
        fi
    done
}

# Sets words to the command's words up to the cursor, unquoted, and cur to the last of
# them. COMP_WORDS has them in pieces, cut at every "=", ":" and "@". Readline replaces only
# what follows kept, the beginning of cur.
_ruvoctl_read_line() {
    local line=${COMP_LINE:0:${COMP_POINT:-${#COMP_LINE}}} raw='' piece='' kept_raw='' i
    local ruvoctl_plain ruvoctl_before
    words=()
    for ((i = 0; i <= COMP_CWORD; i++)); do
        piece=${COMP_WORDS[i]}
        if [[ $i -eq 0 || $line == [[:blank:]]* ]]; then
            if [[ $i -gt 0 ]]; then
                _ruvoctl_unquote "$raw"
                words+=("$ruvoctl_plain")
            fi
            line=${line#"${line%%[![:blank:]]*}"}
            raw=''
        fi
        kept_raw=$raw
        if [[ $i -eq $COMP_CWORD ]]; then piece=$line; fi
        raw+=$piece
        line=${line#"$piece"}
    done
    if [[ -n $piece && -z ${piece//["$COMP_WORDBREAKS"]/} ]]; then kept_raw=$raw; fi
    # Readline cuts before an "@" and behind the other characters.
    _ruvoctl_unquote "${kept_raw%@}"
    kept=$ruvoctl_plain
    _ruvoctl_unquote "$raw"
    cur=$ruvoctl_plain
    if [[ -n $ruvoctl_quote ]]; then kept=$ruvoctl_before; fi
    words+=("$cur")
}

# Sets ruvoctl_quoted to a text as it is written behind the quote that is open, if any.
_ruvoctl_quote() {
    local text=$1 last=''
    # Readline closes a quote, but not behind a character like it.
    if [[ -n $ruvoctl_quote && $text == *"$ruvoctl_quote" ]]; then
        text=${text%?}
        last=$ruvoctl_quote\\$ruvoctl_quote
    fi
    case $ruvoctl_quote in
        \')
            text=${text//\'/"'\\''"}
            ;;
        \")
            text=${text//\\/"\\\\"}
            text=${text//\"/"\\\""}
            text=${text//\$/"\\\$"}
            text=${text//\`/"\\\`"}
            # History is expanded in double quotes, and a backslash would stay.
            text=${text//!/"\"'!'\""}
            ;;
        *)
            if [[ -n $text ]]; then printf -v text '%q' "$text"; fi
            ;;
    esac
    ruvoctl_quoted=$text$last
}

# Offers those of some words that cur begins.
_ruvoctl_offer() {
    local word ruvoctl_quoted
    for word in "$@"; do
        if [[ $word == "$cur"* ]]; then
            _ruvoctl_quote "${word#"$kept"}"
            COMPREPLY+=("$ruvoctl_quoted")
        fi
    done
}

# Offers the lines that a command prints, each behind a prefix.
_ruvoctl_offer_output() {
    local prefix=$1 line
    shift
    while IFS= read -r line; do
        _ruvoctl_offer "$prefix$line"
    done < <("$@" </dev/null 2>/dev/null)
}

# Offers files; what cur holds before their names is the prefix.
_ruvoctl_offer_files() {
    local prefix=$1 file
    # Readline quotes the names then, and puts a slash behind folders.
    compopt -o filenames 2>/dev/null
    while IFS= read -r file; do
        file=$prefix$file
        COMPREPLY+=("${file#"$kept"}")
    done < <(compgen -f -- "${cur#"$prefix"}")
}

# Offers the events of the file that the line names, when it names no event yet.
_ruvoctl_offer_events() {
    local -a command=("${words[0]}" plan --names)
    local file='' word i
    for ((i = 2; i < ${#words[@]} - 1; i++)); do
        word=${words[i]}
        case $word in
            -f | --file)
                i=$((i + 1))
                file=${words[i]}
                ;;
            --color | --disabled | --format | --now | --status | --uptime | --word) i=$((i + 1)) ;;
            --file=*) file=${word#--file=} ;;
            -f*) file=${word#-f} ;;
            --test) command+=(--test) ;;
            # Neither of them goes with an event.
            --all | --names | --trigger-text*) return 0 ;;
            -*) ;;
            *) return 0 ;;
        esac
        if [[ $word == -- && $i -lt $((${#words[@]} - 2)) ]]; then return 0; fi
    done
    if [[ $file == \~/* ]]; then file=$HOME${file#\~}; fi
    if [[ -n $file ]]; then
        # Nothing else can be read twice.
        [[ -f $file ]] || return 0
        command+=(-f "$file")
    fi
    while IFS= read -r word; do
        # Only behind "--" is it no option.
        if [[ $word != -* || $literal == yes ]]; then _ruvoctl_offer "$word"; fi
    done < <("${command[@]}" </dev/null 2>/dev/null)
}

# Sets options to those of a verb.
_ruvoctl_options() {
    case $1 in
        check)
            options=(--address --color --explain --file --fix --help --json --list-ids --sarif
                --status --strict --test --word -f -h)
            ;;
        plan)
            options=(--all --color --disabled --file --format --help --json --names --now
                --status --test --timeline --trigger-text --uptime --word -f -h)
            ;;
        encode)
            options=(--color --cr --crlf --help --json --key --lf --notation --terminator -h)
            ;;
        decode) options=(--color --help --json --notation -h) ;;
        help) options=(--help -h) ;;
        *) options=(--help --version -h) ;;
    esac
}

# Offers the values of an option, behind a prefix; fails when it takes none.
_ruvoctl_offer_values() {
    local option=$1 prefix=$2
    local -a values
    case $option in
        -f | --file | --status | --fix) _ruvoctl_offer_files "$prefix" ;;
        --color) _ruvoctl_offer "${prefix}auto" "${prefix}always" "${prefix}never" ;;
        --disabled) _ruvoctl_offer "${prefix}trigger" "${prefix}run" ;;
        --explain) _ruvoctl_offer_output "$prefix" "${words[0]}" check --list-ids ;;
        --format) _ruvoctl_offer "${prefix}text" "${prefix}json" "${prefix}svg" ;;
        --word) _ruvoctl_offer "${prefix}32" "${prefix}64" ;;
        --notation)
            values=(hex separated-hex quoted text raw caret dollar percent)
            if [[ ${words[1]} == decode ]]; then values=(text c spaced); fi
            _ruvoctl_offer "${values[@]/#/"$prefix"}"
            ;;
        --address | --key | --now | --terminator | --trigger-text | --uptime) ;;
        *) return 1 ;;
    esac
}

_ruvoctl() {
    local -a words options
    local cur kept ruvoctl_quote verb literal=no i
    COMPREPLY=()
    _ruvoctl_read_line
    if [[ ${#words[@]} -eq 2 ]]; then
        _ruvoctl_options ''
        _ruvoctl_offer check plan encode decode help
        if [[ $cur == -* ]]; then _ruvoctl_offer "${options[@]}"; fi
        return 0
    fi
    verb=${words[1]}
    for ((i = 2; i < ${#words[@]} - 1; i++)); do
        if [[ ${words[i]} == -- ]]; then literal=yes; fi
    done
    if [[ $literal == no ]]; then
        if [[ $cur == --*=* ]]; then
            _ruvoctl_offer_values "${cur%%=*}" "${cur%%=*}="
            return 0
        fi
        if ((i > 2)) && _ruvoctl_offer_values "${words[i - 1]}" ''; then return 0; fi
        if [[ $cur == -* ]]; then
            _ruvoctl_options "$verb"
            _ruvoctl_offer "${options[@]}"
            return 0
        fi
    fi
    case $verb in
        check) _ruvoctl_offer_files '' ;;
        plan) _ruvoctl_offer_events ;;
        help) _ruvoctl_offer check plan encode decode help ;;
    esac
    return 0
}

complete -F _ruvoctl ruvoctl

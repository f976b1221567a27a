# Completion of ruvoctl's arguments for fish.

set -l verbs check plan encode decode help

function __ruvoctl_verb_is
    set -l words (commandline -opc)
    test (count $words) -gt 1; and contains -- $words[2] $argv
end

function __ruvoctl_needs_verb
    test (count (commandline -opc)) -eq 1
end

# The events of the file that the line names, when it names no event yet.
function __ruvoctl_events
    set -l words (commandline -opc)
    command -q $words[1]; or return
    set -l ask $words[1] plan --names
    set -l file
    set -l literal no
    set -l i 3
    while test $i -le (count $words)
        switch $words[$i]
            case -f --file
                set i (math $i + 1)
                set file $words[$i]
            case '--file=*'
                set file (string replace -- --file= '' $words[$i])
            case '-f*'
                set file (string replace -- -f '' $words[$i])
            case --color --disabled --format --now --status --uptime --word
                set i (math $i + 1)
            case --test
                set -a ask --test
            case --all --names '--trigger-text*'
                # Neither of them goes with an event.
                return
            case --
                set literal yes
                test $i -eq (count $words); or return
            case '-*'
            case '*'
                return
        end
        set i (math $i + 1)
    end
    set file (string replace -r '^~/' $HOME/ -- $file)
    if test -n "$file"
        # Nothing else can be read twice.
        test -f "$file"; or return
        set -a ask -f $file
    end
    if test $literal = yes
        $ask </dev/null 2>/dev/null
    else
        # Only behind "--" are these no options.
        $ask </dev/null 2>/dev/null | string match -v -- '-*'
    end
end

# The ids of everything that check finds.
function __ruvoctl_ids
    set -l words (commandline -opc)
    command -q $words[1]; or return
    $words[1] check --list-ids </dev/null 2>/dev/null
end

complete -c ruvoctl -f
complete -c ruvoctl -n __ruvoctl_needs_verb -l version -d 'Print the version'
complete -c ruvoctl -s h -l help -d 'Print a help text'
complete -c ruvoctl -n __ruvoctl_needs_verb -a check -d 'What is wrong with a settings file'
complete -c ruvoctl -n __ruvoctl_needs_verb -a plan -d 'Every message of an event'
complete -c ruvoctl -n __ruvoctl_needs_verb -a encode -d "A Data value from a vendor's notation"
complete -c ruvoctl -n __ruvoctl_needs_verb -a decode -d 'A Data value in plain words'
complete -c ruvoctl -n __ruvoctl_needs_verb -a help -d 'Explain a verb'
complete -c ruvoctl -n '__ruvoctl_verb_is help' -a "$verbs"

complete -c ruvoctl -n '__ruvoctl_verb_is check plan encode decode' -l json -d 'Print one JSON document'
complete -c ruvoctl -n '__ruvoctl_verb_is check plan encode decode' -l color -x -a 'auto always never' -d 'Use colour'
complete -c ruvoctl -n '__ruvoctl_verb_is check plan' -l test -d 'By the rules of a test run'
complete -c ruvoctl -n '__ruvoctl_verb_is check plan' -l word -x -a '32 64' -d 'The word size of the device'
complete -c ruvoctl -n '__ruvoctl_verb_is check plan' -l status -r -F -d 'The items that the device reports'

complete -c ruvoctl -n '__ruvoctl_verb_is check' -F
complete -c ruvoctl -n '__ruvoctl_verb_is check' -l address -x -d 'Write another address into the copy'
complete -c ruvoctl -n '__ruvoctl_verb_is check' -l explain -x -a '(__ruvoctl_ids)' -d 'Explain an id'
complete -c ruvoctl -n '__ruvoctl_verb_is check' -l fix -r -F -d 'Write a corrected copy'
complete -c ruvoctl -n '__ruvoctl_verb_is check' -l list-ids -d 'Print every id'
complete -c ruvoctl -n '__ruvoctl_verb_is check' -l sarif -d 'Print a SARIF document'
complete -c ruvoctl -n '__ruvoctl_verb_is check' -l strict -d 'Let warnings count as problems'

complete -c ruvoctl -n '__ruvoctl_verb_is plan' -a '(__ruvoctl_events)'
complete -c ruvoctl -n '__ruvoctl_verb_is check plan' -s f -l file -r -F -d 'The settings file'
complete -c ruvoctl -n '__ruvoctl_verb_is plan' -l all -d 'Plan every event'
complete -c ruvoctl -n '__ruvoctl_verb_is plan' -l disabled -x -a "trigger\t'When the event is triggered' run\t'Before the event runs'" -d 'The switch is off'
complete -c ruvoctl -n '__ruvoctl_verb_is plan' -l format -x -a 'text json svg' -d 'The form of the output'
complete -c ruvoctl -n '__ruvoctl_verb_is plan' -l names -d 'Print the names that trigger events'
complete -c ruvoctl -n '__ruvoctl_verb_is plan' -l now -x -d 'The time at which the event is triggered'
complete -c ruvoctl -n '__ruvoctl_verb_is plan' -l timeline -d 'Draw the steps over time'
complete -c ruvoctl -n '__ruvoctl_verb_is plan' -l trigger-text -x -d 'What a client sends'
complete -c ruvoctl -n '__ruvoctl_verb_is plan' -l uptime -x -d 'How long the system has been up'

complete -c ruvoctl -n '__ruvoctl_verb_is encode' -l cr -d 'End the message with a carriage return'
complete -c ruvoctl -n '__ruvoctl_verb_is encode' -l crlf -d 'End it with a carriage return and a line feed'
complete -c ruvoctl -n '__ruvoctl_verb_is encode' -l key -x -d 'Print the settings line of a key'
complete -c ruvoctl -n '__ruvoctl_verb_is encode' -l lf -d 'End the message with a line feed'
complete -c ruvoctl -n '__ruvoctl_verb_is encode' -l notation -x -a 'hex separated-hex quoted text raw caret dollar percent' -d 'How the text is written'
complete -c ruvoctl -n '__ruvoctl_verb_is encode' -l terminator -x -d 'What ends the message'
complete -c ruvoctl -n '__ruvoctl_verb_is decode' -l notation -x -a 'text c spaced' -d 'Print the bytes in this form alone'

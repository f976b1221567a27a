"""What the shells offer behind `ruvoctl`, asked of the shells themselves at a terminal."""

import json
import os
import pathlib
import pty
import re
import select
import signal
import subprocess
import time

import pytest

RUVOCTL = pathlib.Path(os.environ["RUVO_CTL"])
FOLDER = pathlib.Path(os.environ["RUVO_SOURCE_DIR"], "ruvoctl/completions")
DEADLINE_S = 30

# Each prepares an interactive shell: Tab completes, Control-G records the line and the
# candidates and empties it.
BASH = r"""
PS1='ready '
COMPLETIONS
bind 'set bell-style none' 'set completion-query-items 0' 'set page-completions off'
declare -f _ruvoctl | sed '1s/.*/_ruvoctl_itself ()/' >"$RECORDS.function"
source "$RECORDS.function"
_ruvoctl() { _ruvoctl_itself "$@"; offered=("${COMPREPLY[@]}"); }
record() {
    { printf '%s\n' "$READLINE_LINE" "${offered[@]}"; printf '\0'; } >>"$RECORDS"
    READLINE_LINE='' offered=()
}
bind -x '"\C-g": record'
"""
ZSH = r"""
PS1='ready '
fpath=(COMPLETIONS $fpath)
autoload -Uz compinit
compinit -D -u
unsetopt beep
LISTMAX=1000
compadd() {
    if [[ ${@[1,(i)(-|--)]} != *-(O|A|D)\ * ]]; then
        local -a hits
        builtin compadd -A hits "$@"
        offered+=($hits)
    fi
    builtin compadd "$@"
}
record() {
    { printf '%s\n' "$BUFFER" $offered; printf '\0' } >>$RECORDS
    BUFFER='' offered=()
}
typeset -a offered
zle -N record
bindkey '^I' complete-word
bindkey '^G' record
"""
FISH = r"""
source COMPLETIONS
function fish_prompt; echo -n 'ready '; end
function fish_greeting; end
function complete_it
    set -g offered (complete -C(commandline -c | string collect) | string replace -r '\t.*' '')
    commandline -f complete
end
function record
    begin
        printf '%s\n' (commandline | string collect) $offered
        printf '\0'
    end >>$RECORDS
    commandline ''
    set -g offered
end
bind \t complete_it
bind \cg record
"""


class Shell:
    """An interactive shell at a terminal of its own."""

    def __init__(self, folder, command, **variables):
        self.folder = folder
        self.records = folder / "records"
        self.records.write_bytes(b"")
        self.seen = 0
        self.shown = b""
        environment = {**os.environ, "RECORDS": str(self.records), "TERM": "dumb", "HOME": str(folder),
                       "LC_ALL": "C.UTF-8", "PATH": f"{folder}/bin:{os.environ['PATH']}", **variables}
        self.pid, self.terminal = pty.fork()
        if self.pid == 0:
            os.chdir(folder)
            os.execvpe(command[0], command, environment)
        self.wait_for(lambda: b"ready " in self.shown)

    def wait_for(self, condition):
        end = time.monotonic() + DEADLINE_S
        while not condition():
            assert time.monotonic() < end, f"the terminal shows {self.shown!r}"
            if select.select([self.terminal], [], [], 0.02)[0]:
                self.shown += os.read(self.terminal, 65536)

    def complete(self, typed):
        """The line after a Tab behind what was typed, and what was offered."""
        os.write(self.terminal, typed.encode() + b"\t\x07")
        self.wait_for(lambda: self.records.read_bytes().count(b"\0") > self.seen)
        record = self.records.read_bytes().split(b"\0")[self.seen].decode()
        self.seen += 1
        line, *offered = record.removesuffix("\n").split("\n")
        return line, [word for word in offered if word]

    def offers(self, typed):
        return sorted(set(self.complete(typed)[1]))

    def planned(self, typed):
        """The trigger of the event that is planned when the completed line is run."""
        plan, finished = self.folder / "plan", self.folder / "finished"
        finished.unlink(missing_ok=True)
        os.write(self.terminal, typed.encode() + b"\t --json >plan; echo >finished\r")
        self.wait_for(finished.exists)
        return json.loads(plan.read_text())["events"][0]["trigger"]

    def end(self):
        os.kill(self.pid, signal.SIGKILL)
        os.waitpid(self.pid, 0)
        os.close(self.terminal)


def prepare(folder, name, text, completions):
    path = folder / name
    path.write_text(text.replace("COMPLETIONS", str(completions)))
    return path


def start_bash(folder, lines=f"source {FOLDER}/ruvoctl.bash"):
    file = prepare(folder, "bashrc", BASH, lines)
    return Shell(folder, ["bash", "--noprofile", "--rcfile", str(file), "-i"])


def start_bash_with_helpers(folder):
    """As a user has it who has installed bash-completion, which loads ours by its name."""
    completions = folder / "bash-completion" / "completions"
    completions.mkdir(parents=True)
    (completions / "ruvoctl").symlink_to(FOLDER / "ruvoctl.bash")
    return start_bash(folder, f"""
        export BASH_COMPLETION_USER_DIR={folder}/bash-completion
        source /usr/share/bash-completion/bash_completion
        _completion_loader ruvoctl""")


def start_zsh(folder):
    prepare(folder, ".zshrc", ZSH, FOLDER)
    return Shell(folder, ["zsh", "-i"], ZDOTDIR=str(folder))


def start_fish(folder):
    file = prepare(folder, "config.fish", FISH, FOLDER / "ruvoctl.fish")
    return Shell(folder, ["fish", "--no-config", "-i", "-C", f"source {file}"])


SHELLS = {"bash": start_bash, "bash with its helpers": start_bash_with_helpers,
          "zsh": start_zsh, "fish": start_fish}


@pytest.fixture(scope="module", params=SHELLS)
def shell(request, tmp_path_factory):
    folder = tmp_path_factory.mktemp("shell")
    (folder / "bin").mkdir()
    (folder / "bin" / "ruvoctl").symlink_to(RUVOCTL)
    (folder / "ruvo.txt").write_text(SETTINGS)
    (folder / "two words.txt").write_text(SETTINGS)
    shell = SHELLS[request.param](folder)
    yield shell
    shell.end()


# One trigger for each beginning; what stands in them means something to a shell.
AWKWARD = {
    "La": "Lamp On", "it": "it's", "sa": 'say "hi"', "co": "co:lon", "do": "do$HOME", "ba": "back\\slash",
    "se": "semi;colon|pipe&and", "ha": "ha#sh", "st": "st*r?[x]", "at": "at@home", "pa": "pa(r){e,n}",
    "an": "an<gle>", "ti": "ti`ck`", "ex": "ex!am", "pe": "pe%cent", "üb": "überall", "eq": "eq~",
    "en": "end'",
}
SETTINGS = "".join(
    f"E{number}Count=1\nE{number}XMLfield={trigger}\nE{number}Protocol0=UDP\n"
    for number, trigger in enumerate(AWKWARD.values())
) + "MinusCount=1\nMinusXMLfield=-minus\n"

VERBS = ["check", "decode", "encode", "help", "plan"]
NOTATIONS = ["caret", "dollar", "hex", "percent", "quoted", "raw", "separated-hex", "text"]


def ruvoctl(*arguments):
    return subprocess.run([RUVOCTL, *arguments], capture_output=True, text=True, check=True).stdout


def options_of(verb):
    """What the verb's help names as its options."""
    lines = re.findall(r"^ {2,4}(-\S+)", ruvoctl("help", verb), re.MULTILINE)
    return sorted(option for line in lines for option in line.split(","))


def test_the_verbs(shell):
    assert shell.offers("ruvoctl ") == VERBS
    assert shell.offers("ruvoctl help ") == VERBS
    assert shell.complete("ruvoctl che")[0].rstrip() == "ruvoctl check"


@pytest.mark.parametrize("verb", VERBS)
def test_the_options_of_a_verb_are_those_that_its_help_names(shell, verb):
    offered = {*shell.offers(f"ruvoctl {verb} -"), *shell.offers(f"ruvoctl {verb} --")}
    assert sorted(offered) == options_of(verb)


@pytest.mark.parametrize("typed, values", [
    ("check --color ", ["always", "auto", "never"]),
    ("plan --disabled ", ["run", "trigger"]),
    ("plan --format ", ["json", "svg", "text"]),
    ("plan --word ", ["32", "64"]),
    ("check --word ", ["32", "64"]),
    ("encode --notation ", NOTATIONS),
    ("decode --notation ", ["c", "spaced", "text"]),
])
def test_the_values_of_an_option(shell, typed, values):
    assert shell.offers(f"ruvoctl {typed}") == values


@pytest.mark.parametrize("typed, line", [
    ("plan --color=al", "plan --color=always"),
    ("plan --disabled=tr", "plan --disabled=trigger"),
    ("plan --file=ruv", "plan --file=ruvo.txt"),
    ("plan -f ruv", "plan -f ruvo.txt"),
    ("plan --status ruv", "plan --status ruvo.txt"),
    ("check --status ruv", "check --status ruvo.txt"),
    ("check --fix ruv", "check --fix ruvo.txt"),
    ("check ruv", "check ruvo.txt"),
    ("check -- ruv", "check -- ruvo.txt"),
    ("check two", "check two\\ words.txt"),
    ("encode ruv", "encode ruv"),
    ("plan -f 'two words.txt' La", "plan -f 'two words.txt' Lamp\\ On"),
    ("plan -f two\\ words.txt La", "plan -f two\\ words.txt Lamp\\ On"),
    ("plan --file=ruvo.txt La", "plan --file=ruvo.txt Lamp\\ On"),
    ("plan -fruvo.txt La", "plan -fruvo.txt Lamp\\ On"),
    ("plan -f ~/ruvo.txt La", "plan -f ~/ruvo.txt Lamp\\ On"),
])
def test_a_line_is_completed(shell, typed, line):
    assert shell.complete(f"ruvoctl {typed}")[0].rstrip() == f"ruvoctl {line}"


def test_the_ids_of_check(shell):
    ids = sorted(ruvoctl("check", "--list-ids").split())
    assert len(ids) > 20
    assert shell.offers("ruvoctl check --explain ") == ids


@pytest.mark.parametrize("quote", ["", "'", '"'])
@pytest.mark.parametrize("beginning, trigger", AWKWARD.items(), ids=AWKWARD.values())
def test_a_completed_event_reaches_ruvoctl_as_it_is(shell, quote, beginning, trigger):
    assert shell.planned(f"ruvoctl plan -f ruvo.txt {quote}{beginning}") == trigger


@pytest.mark.parametrize("typed, trigger", [
    ("Lamp\\ ", "Lamp On"), ("'Lamp'\\ ", "Lamp On"), ("co:", "co:lon"), ("co:l", "co:lon"),
    ("co\\:l", "co:lon"), ("'co:", "co:lon"), ("at@", "at@home"), ("at@h", "at@home"),
    ("do\\$H", "do$HOME"), ("'do$H", "do$HOME"), ("ba\"ck", "back\\slash"),
])
def test_an_event_is_completed_in_its_middle(shell, typed, trigger):
    assert shell.planned(f"ruvoctl plan -f ruvo.txt {typed}") == trigger


def test_a_test_run_has_the_names_of_the_events(shell):
    assert "E0" in shell.offers("ruvoctl plan --test -f ruvo.txt ")
    assert "E0" not in shell.offers("ruvoctl plan -f ruvo.txt ")


def test_a_name_like_an_option_is_offered_where_it_is_none(shell):
    assert "-minus" not in shell.offers("ruvoctl plan -f ruvo.txt ")
    assert shell.complete("ruvoctl plan -f ruvo.txt -- -m")[0].rstrip().endswith(" -minus")


def test_one_event_is_enough(shell):
    assert "Lamp On" not in shell.offers("ruvoctl plan -f ruvo.txt co:lon ")
    assert "Lamp On" not in shell.offers("ruvoctl plan -f ruvo.txt --all ")
    assert shell.complete("ruvoctl plan -f ruvo.txt --word 64 La")[1] != []


@pytest.mark.parametrize("line", [
    "ruvoctl plan -f missing.txt La", "ruvoctl plan -f - La", "ruvoctl plan -f bin La",
    "ruvoctl plan -f /dev/tty La", "ruvoctl plan -f '' La", "missing/ruvoctl plan La",
    "missing/ruvoctl check --explain data",
])
def test_what_cannot_be_read_offers_nothing_and_says_nothing(shell, line):
    before = len(shell.shown)
    assert shell.complete(line) == (line, [])
    assert not re.search(r"rror|annot|not found|No such|nknown", shell.shown[before:].decode())


@pytest.mark.parametrize("word", ["$(touch made)", "`touch made`", "\"$(touch made)"])
def test_nothing_that_was_typed_is_run(shell, word):
    for line in ["plan -f {}", "plan -f {} La", "plan {}", "check --explain {}", "{}"]:
        shell.complete("ruvoctl " + line.format(word))
    assert not (shell.folder / "made").exists()


def test_without_an_option_the_file_is_that_of_the_program_that_was_typed(shell):
    stand_in = shell.folder / "other" / "ruvoctl"
    stand_in.parent.mkdir(exist_ok=True)
    stand_in.write_text(f'#!/bin/sh\n[ "$*" = "plan --names" ] && exec {RUVOCTL} plan --names -f ruvo.txt\n')
    stand_in.chmod(0o755)
    assert shell.complete("other/ruvoctl plan La")[0].rstrip() == "other/ruvoctl plan Lamp\\ On"


def test_an_unknown_verb_has_nothing_to_offer(shell):
    assert shell.complete("ruvoctl pan La") == ("ruvoctl pan La", [])

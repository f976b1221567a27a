"""What `cmake --install` puts where, and how a build is told of the device's library."""

import os
import pathlib
import re
import shutil
import subprocess

import pytest

BUILD = os.environ["RUVO_BUILD_DIR"]
SOURCE = os.environ["RUVO_SOURCE_DIR"]
CMAKE = os.environ["RUVO_CMAKE"]

DAEMON = {
    "usr/sbin/ruvotcpd",
    "usr/share/doc/ruvotcpd/CHANGELOG.md",
    "usr/share/doc/ruvotcpd/LICENSE",
    "usr/share/doc/ruvotcpd/README.md",
    "usr/share/man/man5/ruvo.txt.5",
    "usr/share/man/man8/ruvotcpd.8",
    # The library that this build's daemon asks.
    "usr/lib/ruvotcpd/libruvo_simulated_platform.so",
}
PAGES = {
    f"usr/share/doc/ruvotcpd/docs/{path.name}" for path in pathlib.Path(SOURCE, "docs").glob("*.md")
}
RUVOCTL = {
    "usr/bin/ruvoctl",
    "usr/share/bash-completion/completions/ruvoctl",
    "usr/share/fish/vendor_completions.d/ruvoctl.fish",
    "usr/share/man/man1/ruvoctl.1",
    "usr/share/man/man7/ruvo-checks.7",
    "usr/share/zsh/site-functions/_ruvoctl",
}
DEVKIT = {
    "usr/libexec/ruvotcpd/ruvo-receiver",
    "usr/libexec/ruvotcpd/ruvo-status-service",
    "usr/libexec/ruvotcpd/ruvo-world",
    "usr/libexec/ruvotcpd/userconfigtool",
}


def install(folder, *options):
    """Installs the build into a folder and returns the paths of its files."""
    environment = {**os.environ, "DESTDIR": str(folder)}
    subprocess.run(
        [CMAKE, "--install", BUILD, "--prefix", "/usr", *options],
        env=environment, check=True, stdout=subprocess.DEVNULL,
    )
    return {str(path.relative_to(folder)) for path in folder.rglob("*") if path.is_file()}


def configure(folder, *options):
    return subprocess.run(
        [CMAKE, "-S", SOURCE, "-B", folder, "-DRUVO_BUILD_DEVKIT=OFF", "-DRUVO_BUILD_TESTS=OFF", *options],
        capture_output=True, text=True,
    )


def test_everything_lies_where_the_gnu_directories_say(tmp_path):
    assert install(tmp_path) == DAEMON | PAGES | RUVOCTL | DEVKIT


@pytest.mark.parametrize("component, files", [
    ("daemon", DAEMON | PAGES), ("ruvoctl", RUVOCTL), ("devkit", DEVKIT)])
def test_a_component_can_be_installed_without_the_others(tmp_path, component, files):
    assert install(tmp_path, "--component", component) == files


def test_the_manual_pages_are_clean_and_refer_to_pages_that_are_there(tmp_path):
    install(tmp_path)
    pages = [path for path in tmp_path.glob("usr/share/man/man?/*")]
    assert len(pages) == 4
    folder = tmp_path / "pages"
    folder.mkdir()
    for page in pages:
        shutil.copy(page, folder)
    # It looks for the pages that are referred to in the folder where it runs, too.
    done = subprocess.run(["mandoc", "-Tlint", *sorted(page.name for page in pages)],
                          cwd=folder, capture_output=True, text=True)
    assert (done.stdout, done.stderr, done.returncode) == ("", "", 0)


def test_a_reference_to_a_page_that_is_not_there_would_be_told(tmp_path):
    (tmp_path / "page.1").write_text(
        ".Dd November 21, 2026\n.Dt PAGE 1\n.Os\n.Sh NAME\n.Nm page\n.Nd none\n"
        ".Sh SEE ALSO\n.Xr no-such-page-at-all 7\n")
    done = subprocess.run(["mandoc", "-Tlint", "page.1"], cwd=tmp_path, capture_output=True, text=True)
    assert "no-such-page-at-all" in done.stdout


def test_an_installed_ruvoctl_needs_no_folder_of_its_build(tmp_path):
    install(tmp_path, "--component", "ruvoctl")
    program = tmp_path / "usr/bin/ruvoctl"
    done = subprocess.run([program, "--version"], capture_output=True, text=True)
    assert (done.stdout, done.stderr, done.returncode) == ("ruvoctl 1.4.2-1\n", "", 0)
    assert BUILD.encode() not in program.read_bytes()


@pytest.mark.parametrize("shell, question, answer", [
    ("bash", "source /usr/share/bash-completion/bash_completion; _completion_loader ruvoctl; "
             "complete -p ruvoctl", "complete -F _ruvoctl ruvoctl\n"),
    ("zsh", "fpath=($XDG_DATA_DIRS/zsh/site-functions $fpath); autoload -Uz compinit; compinit -D -u; "
            "print ${_comps[ruvoctl]}", "_ruvoctl\n"),
    ("fish", "complete -C 'ruvoctl che' | string split -f 1 \\t", "check\n"),
])
def test_the_shells_find_their_completions(tmp_path, shell, question, answer):
    install(tmp_path, "--component", "ruvoctl")
    done = subprocess.run(
        [shell, "-c", question], capture_output=True, text=True,
        env={"PATH": f"{tmp_path}/usr/bin:{os.environ['PATH']}", "HOME": str(tmp_path),
             "XDG_DATA_DIRS": f"{tmp_path}/usr/share"})
    assert (done.stdout, done.stderr) == (answer, "")


def test_an_installed_daemon_finds_its_library_and_starts(tmp_path):
    install(tmp_path, "--component", "daemon")
    done = subprocess.run([tmp_path / "usr/sbin/ruvotcpd", "-v"], capture_output=True, text=True)
    assert (done.returncode, done.stderr) == (0, "")
    assert re.fullmatch(r"ruvotcpd-V1\.4\.2-1\.generic Build: .* \+00:00\n", done.stdout)


def test_an_installed_daemon_holds_no_folder_of_its_build(tmp_path):
    install(tmp_path, "--component", "daemon")
    assert BUILD.encode() not in (tmp_path / "usr/sbin/ruvotcpd").read_bytes()


def test_an_installed_daemon_needs_the_system_s_libraries_and_the_device_s_alone(tmp_path):
    install(tmp_path, "--component", "daemon")
    dynamic = subprocess.run(
        ["readelf", "-d", tmp_path / "usr/sbin/ruvotcpd"], capture_output=True, text=True, check=True)
    needed = set(re.findall(r"\(NEEDED\) +Shared library: \[(.*)\]", dynamic.stdout))
    of_a_sanitizer = {name for name in needed if re.match(r"lib(asan|tsan|ubsan|clang_rt)\.", name)}
    assert needed - of_a_sanitizer <= {
        "libruvo_simulated_platform.so", "libstdc++.so.6", "libgcc_s.so.1", "libm.so.6", "libc.so.6",
        "ld-linux-x86-64.so.2",
    }
    assert {"libruvo_simulated_platform.so", "libstdc++.so.6", "libc.so.6"} <= needed


def test_a_build_without_a_library_says_so(tmp_path):
    done = configure(tmp_path, "-DRUVO_PLATFORM_LIBRARY=none")
    assert done.returncode == 0
    assert "RUVO_PLATFORM_LIBRARY=none: __GET__ reads every value as empty\n" in done.stdout


def test_a_build_for_a_device_asks_for_its_library(tmp_path):
    done = configure(tmp_path)
    assert done.returncode != 0
    assert "-DRUVO_PLATFORM_LIBRARY=FILE" in done.stderr


@pytest.mark.parametrize("library", ["/no/such/library.so", "folder/library.so"])
def test_a_library_that_is_not_there_is_refused(tmp_path, library):
    done = configure(tmp_path, f"-DRUVO_PLATFORM_LIBRARY={library}")
    assert done.returncode != 0
    assert f"linker's name: {library}" in re.sub(r"\s+", " ", done.stderr)


def test_a_library_that_is_there_is_named(tmp_path):
    library = tmp_path / "libplatform.a"
    library.write_bytes(b"")
    done = configure(tmp_path / "build", f"-DRUVO_PLATFORM_LIBRARY={library}")
    assert done.returncode == 0
    assert f"RUVO_PLATFORM_LIBRARY={library}: __GET__ asks this library\n" in done.stdout

from pathlib import Path

import pytest

from mutants import changed_number, mutants_of, source_files
from mutation import described, order
from results import Results, read_equivalents
from subjects import own_suites, patterns_of, system_tests

SOURCE = """\
enum class Side { kLeft, kRight };
struct Guard { Guard(); ~Guard(); };
void say(const char* text, const char* more);
int limit(int a, int b, bool wide) {
    const Guard guard;
    if (a < b && !wide) return a + 10;
    for (int i = 0; i < 3; ++i) {
        if (i == b) break;
        say("one",
            "%d");
    }
    return wide ? b : -a;
}
Side side() { return Side::kLeft; }
"""

EXPECTED = {
    "operator": [
        "if (a <= b && !wide) return a + 10;",
        "if (a >= b && !wide) return a + 10;",
        "if (a < b || !wide) return a + 10;",
        "if (a < b && wide) return a + 10;",
        "if (a < b) return a + 10;",
        "if (!wide) return a + 10;",
        "if (a < b && !wide) return a - 10;",
        "for (int i = 0; i <= 3; ++i) {",
        "for (int i = 0; i >= 3; ++i) {",
        "for (int i = 0; i < 3; --i) {",
        "if (i != b) break;",
        "return wide ? b : a;",
    ],
    "constant": [
        "if (a < b && !wide) return a + 0;",
        "if (a < b && !wide) return a + 9;",
        "if (a < b && !wide) return a + 11;",
        "for (int i = (-1); i < 3; ++i) {",
        "for (int i = 1; i < 3; ++i) {",
        "for (int i = 0; i < 0; ++i) {",
        "for (int i = 0; i < 2; ++i) {",
        "for (int i = 0; i < 4; ++i) {",
        'say("oxe",',
        'say("",',
        '"%x");',
        '"");',
        "Side side() { return Side::kRight; }",
    ],
    "condition": [
        "if (true) return a + 10;",
        "if (false) return a + 10;",
        "if (!(a < b && !wide)) return a + 10;",
        "for (int i = 0; true; ++i) {",
        "for (int i = 0; false; ++i) {",
        "for (int i = 0; !(i < 3); ++i) {",
        "if (true) break;",
        "if (false) break;",
        "if (!(i == b)) break;",
        "return true ? b : -a;",
        "return false ? b : -a;",
        "return !(wide) ? b : -a;",
    ],
    "statement": [
        ";",
        "if (a < b && !wide) return {};",
        "if (i == b) ;",
        ";",
        "return {};",
        "Side side() { return {}; }",
    ],
    "arguments": ['say("%d", "one");'],
}


@pytest.fixture(scope="module")
def generated(tmp_path_factory):
    root = tmp_path_factory.mktemp("root")
    (root / "core").mkdir()
    (root / "core/limit.cpp").write_text(SOURCE)
    (root / "core/CMakeLists.txt").write_text("")
    assert source_files(root) == ["core/limit.cpp"]
    return mutants_of(root, "core/limit.cpp")


@pytest.mark.parametrize("kind", EXPECTED)
def test_each_kind_of_mutant_is_made_wherever_it_fits(generated, kind):
    lines = [mutant.lines(SOURCE.encode())[1] for mutant in generated if mutant.kind == kind]
    assert sorted(lines) == sorted(EXPECTED[kind])


def test_a_mutant_has_as_many_lines_as_the_source(generated):
    assert {mutant.apply(SOURCE.encode()).count(b"\n") for mutant in generated} == {SOURCE.count("\n")}


def test_numbers_change_in_their_own_notation():
    assert changed_number("0x10u") == ["0u", "15u", "17u"]
    assert changed_number("1'000") == ["0", "999", "1001"]
    assert changed_number("EINTR") == ["(EINTR + 1)"]


def test_a_place_in_the_draw_does_not_depend_on_what_stands_above(generated):
    later = "// a comment\n" + SOURCE
    moved = [(mutant.file, mutant.begin + 13, mutant.end + 13, mutant.text, mutant.kind) for mutant in generated]
    fields = [list(vars(mutant).values()) for mutant in generated]
    here = [order(7, found) for _, found in described("core/limit.cpp", SOURCE.encode(), fields)]
    there = [order(7, found) for _, found in described("core/limit.cpp", later.encode(), moved)]
    assert here == there
    assert len(set(here)) == len(here)
    assert here != [order(8, found) for _, found in described("core/limit.cpp", SOURCE.encode(), fields)]


def trial(number, result, **more):
    return {"order": str(number), "file": "core/a.cpp", "line": number, "kind": "operator", "before": "a < b",
            "after": f"a > {number}", "number": 1, "result": result, "seconds": 2.0, **more}


def test_a_run_is_kept_and_summed_up(tmp_path):
    results = Results(tmp_path / "results.json", {"seed": 5, "mutants": 90, "lines": 40})
    results.put(trial(1, "survived"))
    results.put(trial(2, "not compiled"))
    results.put(trial(3, "killed", by="unit", test="A.B"))
    results.put(trial(4, "survived"))
    results.put(trial(5, "same object code"))
    results.put(trial(1, "killed", by="system", test="test_c"))
    again = Results.load(tmp_path / "results.json")
    assert again.summary() == (
        "seed 5: 90 mutants of 40 lines\n"
        "sampled 4, and 1 that do not compile\n"
        "killed 2 (1 by unit, 0 by world, 0 by model, 1 by system, 0 by time-out, 0 by analysis)\n"
        "equivalent by their object code 1, for a stated reason 0\n"
        "survived 1: 66.7% of what differs is killed\n"
        "50.0% of the sample is killed\n"
        "10 s of trials\n"
        "core/a.cpp:4 (operator)\n  - a < b\n  + a > 4")


def test_a_reason_stands_for_a_survivor_only(tmp_path):
    listed = tmp_path / "equivalent.txt"
    listed.write_text("# why\n\ncore/a.cpp\n  - a < b\n  + a > 1\n  The two are\n  never equal.\n\n"
                      "core/a.cpp\n  - a < b\n  + a > 2\n  Nobody looks.\n")
    results = Results(tmp_path / "results.json", {})
    results.trials = [trial(1, "survived"), trial(2, "killed"), trial(3, "equivalent")]
    results.mark_equivalents(read_equivalents(listed))
    assert [(found["result"], found.get("reason")) for found in results.trials] == [
        ("equivalent", "The two are never equal."), ("killed", None), ("survived", None)]


def test_a_reason_is_never_empty(tmp_path):
    listed = tmp_path / "equivalent.txt"
    listed.write_text("core/a.cpp\n  - a < b\n  + a > 1\n")
    with pytest.raises(ValueError):
        read_equivalents(listed)


def test_every_source_has_tests_of_its_own_folder_and_of_the_daemon():
    root = Path(__file__).resolve().parents[2]
    for file in source_files(root):
        own, folder = own_suites(root, file)
        assert folder, file
        assert system_tests(file) or file == "platform/token_text_none.cpp", file
        for name in system_tests(file):
            assert (root / f"tests/system/test_{name}.py").exists(), name
    own, _ = own_suites(root, "settings/mirrors.cpp")
    assert [path.name for path in own] == ["mirrors_test.cpp", "mirrors_world_test.cpp"]
    assert "MirrorTest.*" in patterns_of(own)

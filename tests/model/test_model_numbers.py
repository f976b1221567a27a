import pytest

from c_numbers import InvalidArgument, OutOfRange, product_int64, stoul, strtol, strtoul, to_int32, to_uint32
from c_strings import equal_ignoring_case, fgets_pieces, read_lines, up_to_zero, without_line_feed

LONG_MAX = 9223372036854775807


@pytest.mark.parametrize("text, value", [
    (b"3", 3),
    (b"3abc", 3),
    (b"abc", 0),
    (b"", 0),
    (b" \t\n\v\f\r12", 12),
    (b"\xa012", 0),
    (b"+7", 7),
    (b"-7", -7),
    (b"+-7", 0),
    (b"- 7", 0),
    (b"007", 7),
    (b"0x10", 0),
    (b"1.5", 1),
    (b"1\0002", 1),
    (b"\0002", 0),
    (b"9223372036854775807", LONG_MAX),
    (b"9223372036854775808", LONG_MAX),
    (b"-9223372036854775808", -LONG_MAX - 1),
    (b"-9223372036854775809", -LONG_MAX - 1),
    (b"99999999999999999999999", LONG_MAX),
])
def test_strtol_reads_decimal_text(text, value):
    assert strtol(text, 10) == value


@pytest.mark.parametrize("text, value", [
    (b"48", 0x48),
    (b"fF", 0xFF),
    (b"G1", 0),
    (b"1G", 1),
    (b" F", 15),
    (b"F ", 15),
    (b"-1", -1),
    (b"+a", 10),
    (b"0x", 0),
    (b"0X", 0),
    (b"0x41", 0x41),
    (b"0xg", 0),
    (b"-0x1f", -31),
    (b"x1", 0),
    (b"\0A", 0),
])
def test_strtol_reads_hexadecimal_text(text, value):
    assert strtol(text, 16) == value


def test_a_short_long_saturates_at_its_own_limits():
    assert strtol(b"2147483648", 10, long_bits=32) == 2147483647
    assert strtol(b"-2147483649", 10, long_bits=32) == -2147483648
    assert strtol(b"4294967297", 10, long_bits=32) == 2147483647


@pytest.mark.parametrize("text, value", [
    (b"18446744073709551615", 2 ** 64 - 1),
    (b"18446744073709551616", 2 ** 64 - 1),
    (b"-1", 2 ** 64 - 1),
    (b"-18446744073709551615", 1),
    (b"-18446744073709551616", 2 ** 64 - 1),
    (b"-0", 0),
    (b"x", 0),
])
def test_strtoul_counts_down_for_a_minus_sign(text, value):
    assert strtoul(text, 10) == value


@pytest.mark.parametrize("text, value", [
    (b"1", 1),
    (b" 1", 1),
    (b"1x", 1),
    (b"0x1", 0),
    (b"-1", 2 ** 64 - 1),
    (b"18446744073709551615", 2 ** 64 - 1),
])
def test_stoul_takes_blanks_a_sign_and_trailing_text(text, value):
    assert stoul(text) == value


@pytest.mark.parametrize("text", [b"", b"x", b" ", b"-", b"+-1", b"\0001"])
def test_stoul_without_digits_is_an_invalid_argument(text):
    with pytest.raises(InvalidArgument, match="^stoul$"):
        stoul(text)


@pytest.mark.parametrize("text", [
    b"18446744073709551616", b"-18446744073709551616", b"99999999999999999999999",
])
def test_stoul_beyond_the_range_is_out_of_range(text):
    with pytest.raises(OutOfRange, match="^stoul$"):
        stoul(text)


def test_stoul_of_a_short_long_is_out_of_range_sooner():
    assert stoul(b"4294967295", long_bits=32) == 4294967295
    with pytest.raises(OutOfRange):
        stoul(b"4294967296", long_bits=32)


def test_truncation_keeps_the_low_32_bits():
    assert to_int32(4294967297) == 1
    assert to_int32(2147483648) == -2147483648
    assert to_int32(LONG_MAX) == -1
    assert to_int32(-LONG_MAX - 1) == 0
    assert to_uint32(4294967296) == 0
    assert to_uint32(2 ** 64 - 1) == 4294967295


def test_products_wrap_at_64_bits():
    assert product_int64(-2147483648, 1000000) == -2147483648000000
    assert product_int64(2 ** 62, 2) == -2 ** 63
    assert product_int64(2 ** 63, 2) == 0


def test_a_buffer_holds_one_byte_less_than_its_size():
    assert fgets_pieces(b"abc\ndefgh\n", 5) == [b"abc\n", b"defg", b"h\n"]
    assert fgets_pieces(b"abcd\n", 5) == [b"abcd", b"\n"]
    assert fgets_pieces(b"", 5) == []
    assert fgets_pieces(b"a", 5) == [b"a"]


def test_a_zero_byte_hides_the_rest_of_its_piece():
    assert read_lines(b"ab\0c\nd\n", 2048) == [b"ab", b"d\n"]
    assert read_lines(b"ab\0cdefg\n", 5) == [b"ab", b"defg", b"\n"]
    assert up_to_zero(b"ab\0c\0d") == b"ab"


def test_only_one_line_feed_is_removed():
    assert without_line_feed(b"a\n\n") == b"a\n"
    assert without_line_feed(b"a\r") == b"a\r"
    assert without_line_feed(b"") == b""


def test_only_letters_of_the_alphabet_have_a_case():
    assert equal_ignoring_case(b"DaTe", b"date")
    assert not equal_ignoring_case(b"\xc9", b"\xe9")
    assert not equal_ignoring_case(b"[", b"{")

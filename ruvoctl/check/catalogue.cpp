#include "ruvoctl/check/catalogue.h"

#include <algorithm>
#include <array>

namespace ruvo::ctl {
namespace {

// A step without fault, for the examples; its name is all that varies.
#define RUVO_STEP(event, index, protocol, data)                                        \
    event "IP" index "=10.1.2.3\n" event "Port" index "=5000\n" event "Protocol" index \
          "=" protocol "\n" event "Data" index "=" data "\n"
#define RUVO_BEAMER "BeamerCount=1\n" RUVO_STEP("Beamer", "0", "UDP", "4F4E0D")
#define RUVO_BEAMER_DATA(data) "BeamerCount=1\n" RUVO_STEP("Beamer", "0", "UDP", data)
#define RUVO_BEAMER_STEP(ip, port, protocol)                                           \
    "BeamerCount=1\nBeamerIP0=" ip "\nBeamerPort0=" port "\nBeamerProtocol0=" protocol \
    "\nBeamerData0=4F4E0D\n"

constexpr Severity kFatal = Severity::kFatal;
constexpr Severity kError = Severity::kError;
constexpr Severity kWarning = Severity::kWarning;
constexpr Severity kInformation = Severity::kInformation;

constexpr std::array kCatalogue = {
    // --- fatal: the whole file takes no effect
    Check{
        "index-not-a-number", kFatal, "an index does not begin with a number",
        "What follows a field word in a key is the index of the step. When it does not begin with "
        "a number and the event exists, the daemon gives up the whole file and keeps the events it "
        "has: none at start-up, those of the file before otherwise. A misspelt field name "
        "(PowerOnPorts0, PowerOnIPAddress0), brackets around the index and a new field of one's "
        "own "
        "(PowerOnIPv4) are all read this way.",
        RUVO_BEAMER "BeamerPorts0=5000\n", RUVO_BEAMER "ProjectorPorts0=5000\n"},
    Check{
        "index-out-of-range", kFatal, "an index is beyond the range of numbers",
        "An index that does not fit the device's unsigned long voids the whole file, like one that "
        "is no number: 4294967295 is the largest on a device of 32 bits, 18446744073709551615 on "
        "one of 64.",
        RUVO_BEAMER "BeamerPort99999999999999999999=5000\n",
        RUVO_BEAMER "ProjectorPort99999999999999999999=5000\n"},
    Check{"blank-before-equals", kFatal, "a blank before \"=\" voids the file",
          "A key is everything before the \"=\". A blank behind a field word that takes no index "
          "(Count, Delay, XMLfield), or behind one whose index is missing, is read as an index "
          "without a number. Behind an index a blank does no harm.",
          RUVO_BEAMER "BeamerDelay =1\n", RUVO_BEAMER "BeamerDelay0 =100\n"},
    Check{
        "field-word-voids", kFatal, "a field word inside an event name voids the file",
        "Field words are searched in the whole key, in the order Count, XMLfield, Protocol, Delay, "
        "IP, Port, Data, and the first one found splits it: HDMIPort0 is the field IP of an event "
        "HDM. Where an event of that shorter name exists, the rest is an index without a number. "
        "Give the event a short name without field words and set its XMLfield to the trigger name "
        "that it should have.",
        "HDMCount=1\n" RUVO_STEP("HDM", "0", "UDP", "4F4E0D") "HDMIPort0=5000\n",
        "HDMCount=1\n" RUVO_STEP("HDM", "0", "UDP", "4F4E0D") "HDMXMLfield=HDMI\n"},

    // --- errors: something configured is never sent, or is sent wrong
    Check{"missing-index", kError, "a step's field has no index",
          "Protocol, IP, Port and Data belong to a step and need its index, from 0: PowerOnData0. "
          "Without it nothing reads the line.",
          RUVO_BEAMER "BeamerData=4F4E\n", RUVO_BEAMER "BeamerDelay=1\n"},
    Check{
        "field-in-name", kError, "a field word inside an event name",
        "Field words are searched in the whole key, in the order Count, XMLfield, Protocol, Delay, "
        "IP, Port, Data, and the first one found splits it: DisplayPortOnData0 is a line of an "
        "event Display. Give the event a short name without field words and set its XMLfield to "
        "the trigger name that it should have.",
        "DisplayPortOnCount=1\n" RUVO_STEP("DisplayPortOn", "0", "UDP", "4F4E0D"),
        "ScreenCount=1\nScreenXMLfield=DisplayPortOn\n" RUVO_STEP("Screen", "0", "UDP", "4F4E0D")},
    Check{
        "field-at-beginning", kError, "an event name begins with a field word",
        "A field word at the beginning of a key is passed over, even when it occurs again: in "
        "CountdownCount and DataWallData0 no field is found and the line is lost. Give the event "
        "another name and set its XMLfield.",
        "CountdownCount=1\n",
        "DataWallCount=1\nDataWallIP0=10.1.2.3\nDataWallPort0=5000\nDataWallProtocol0=UDPStatus\n"},
    Check{"count-missing", kError, "steps without a Count",
          "An event exists only through a Count of 1 or more under exactly its name.",
          RUVO_STEP("Beamer", "0", "UDP", "4F4E0D"), RUVO_BEAMER},
    Check{"count-not-positive", kError, "a Count that is not positive switches the event off",
          "With a Count of 0 or less the event does not exist and its steps are never sent. Remove "
          "the steps, too, when that is meant.",
          "BeamerCount=0\n" RUVO_STEP("Beamer", "0", "UDP", "4F4E0D"),
          "PowerOnCount=0\nPowerOnDelay=1\n"},
    Check{"count-garbage", kError, "a Count that is no number",
          "A Count that does not begin with a number is read as 0: the event does not exist.",
          "BeamerCount=one\n" RUVO_STEP("Beamer", "0", "UDP", "4F4E0D"),
          "BeamerCount=1 step\n" RUVO_STEP("Beamer", "0", "UDP", "4F4E0D")},
    Check{"count-blank", kError, "a blank between Count and \"=\"",
          "The blank is read as an index, so the line is no Count and the event does not exist.",
          "BeamerCount =1\n" RUVO_STEP("Beamer", "0", "UDP", "4F4E0D"),
          "BeamerCount= 1\n" RUVO_STEP("Beamer", "0", "UDP", "4F4E0D")},
    Check{"count-above-128", kError, "a Count above 128", "An event has at most 128 steps.",
          "BeamerCount=129\n" RUVO_STEP("Beamer", "0", "UDP", "4F4E0D"), RUVO_BEAMER},
    Check{
        "index-beyond-count", kError, "an index at or beyond the Count",
        "Steps are counted from 0, so a Count of 2 has the steps 0 and 1. A line of any other step "
        "is passed over.",
        RUVO_BEAMER RUVO_STEP("Beamer", "1", "UDP", "4F4E0D"),
        "BeamerCount=2\n" RUVO_STEP("Beamer", "0", "UDP", "4F4E0D")
            RUVO_STEP("Beamer", "1", "UDP", "4F4E0D")},
    Check{"index-negative", kError, "a negative index",
          "A negative index wraps around to a very large one, beyond every Count.",
          RUVO_BEAMER "BeamerPort-1=5000\n", RUVO_BEAMER "BeamerDelay+0=5\n"},
    Check{"index-wrapped", kError, "an index beyond 32 bits",
          "Only the low 32 bits of an index count, so a very large one may hit a step that nobody "
          "meant.",
          RUVO_BEAMER "BeamerDelay4294967296=5\n", RUVO_BEAMER "BeamerDelay0000000000=5\n"},
    Check{"event-field-index", kError, "an event's field with an index",
          "Count and XMLfield belong to the whole event. With an index they mean nothing.",
          RUVO_BEAMER "BeamerXMLfield0=Lamp\n", RUVO_BEAMER "BeamerXMLfield=Lamp\n"},
    Check{"duplicate-trigger", kError, "two events with one trigger name",
          "The first event of the file whose trigger name fits is run, and no other.",
          RUVO_BEAMER "LampCount=1\nLampXMLfield=Beamer\n" RUVO_STEP("Lamp", "0", "UDP", "4F4E0D"),
          RUVO_BEAMER "LampCount=1\nLampXMLfield=beamer\n" RUVO_STEP("Lamp", "0", "UDP", "4F4E0D")},
    Check{
        "xmlfield-overwritten", kError, "an XMLfield undone by a Delay behind it",
        "For PowerOn, DVIConnected and DVIDisconnected, a Delay line makes the event answer to its "
        "own name again. An XMLfield counts only behind it.",
        "PowerOnCount=1\nPowerOnXMLfield=Start\nPowerOnDelay=1\n" RUVO_STEP("PowerOn", "0", "UDP",
                                                                            "4F4E0D"),
        "BeamerXMLfield=Start\nBeamerDelay=1\n" RUVO_BEAMER},
    Check{
        "trigger-unsendable", kError, "a trigger name that cannot be sent",
        "A request ends at its first \"=\", has at most 1,023 characters, and is a command when it "
        "begins with two underscores. An event whose trigger name does not fit can never be run.",
        RUVO_BEAMER "BeamerXMLfield=lamp=on\n", RUVO_BEAMER "BeamerXMLfield=_lamp_on\n"},
    Check{
        "cr-in-trigger", kError, "a carriage return in a trigger name",
        "The carriage return of a CRLF line end stays in the value. Behind a number, a protocol or "
        "data it does no harm; an XMLfield with it never matches.",
        RUVO_BEAMER "BeamerXMLfield=Lamp\r\n", RUVO_BEAMER "BeamerDelay=1\r\n"},
    Check{"protocol-missing", kError, "a step without a protocol",
          "A step needs a Protocol that holds TCP or UDP. Without one it is logged as sent, and "
          "nothing leaves.",
          "BeamerCount=1\nBeamerIP0=10.1.2.3\nBeamerPort0=5000\nBeamerData0=4F4E\n", RUVO_BEAMER},
    Check{"protocol-unknown", kError, "a protocol that starts nothing",
          "The protocol text is searched for TCP and UDP in capital letters. Any other text is "
          "logged "
          "as sent, and nothing leaves.",
          RUVO_BEAMER_STEP("10.1.2.3", "5000", "udp"),
          RUVO_BEAMER_STEP("10.1.2.3", "5000", " UDP ")},
    Check{"ip-missing", kError, "a step without an address",
          "A step without an IP is sent to 0.0.0.0, which is the device itself.",
          "BeamerCount=1\nBeamerPort0=5000\nBeamerProtocol0=UDP\nBeamerData0=4F4E\n", RUVO_BEAMER},
    Check{"ip-invalid", kError, "an address that is none",
          "An IP is four numbers from 0 to 255 with dots between them: no host name, no leading "
          "zeros, no blank. Anything else becomes 0.0.0.0, the device itself.",
          RUVO_BEAMER_STEP("010.1.2.3", "5000", "UDP"),
          RUVO_BEAMER_STEP("10.1.2.0", "5000", "UDP")},
    Check{
        "cr-in-ip", kError, "a carriage return behind an address",
        "The carriage return of a CRLF line end stays in the value. Behind a number, a protocol or "
        "data it does no harm; an address with it is no address and becomes 0.0.0.0, the device "
        "itself.",
        RUVO_BEAMER_STEP("10.1.2.3\r", "5000", "UDP"),
        RUVO_BEAMER_STEP("10.1.2.3", "5000\r", "UDP\r")},
    Check{
        "port-missing", kError, "a step without a port", "A step without a Port is sent to port 0.",
        "BeamerCount=1\nBeamerIP0=10.1.2.3\nBeamerProtocol0=UDP\nBeamerData0=4F4E\n", RUVO_BEAMER},
    Check{
        "port-invalid", kError, "a port that is no port",
        "A port is a number from 1 to 65535. Text is read as 0; of larger numbers the low 16 bits "
        "are used.",
        RUVO_BEAMER_STEP("10.1.2.3", "65536", "UDP"), RUVO_BEAMER_STEP("10.1.2.3", "65535", "UDP")},
    Check{
        "destination-refused", kError, "a destination that is always refused",
        "The device does not send datagrams to 255.255.255.255, nor open TCP connections to it or "
        "to multicast addresses (224.0.0.0 to 239.255.255.255). Nothing leaves, and the event log "
        "says that it was sent. Send to each device by its own address.",
        RUVO_BEAMER_STEP("255.255.255.255", "5000", "UDP"),
        RUVO_BEAMER_STEP("239.1.2.3", "5000", "UDP")},
    Check{"hex-odd", kError, "an odd number of hexadecimal digits",
          "Data is read two digits a byte from its beginning; a last digit left over is a byte of "
          "its "
          "own.",
          RUVO_BEAMER_DATA("4F4E0"), RUVO_BEAMER_DATA("4F4E0D ")},
    Check{"hex-separated", kError, "hexadecimal digits with something between them",
          "Data is read two characters at a time, whatever they are: blanks, commas, 0x and \\x "
          "between the digits take the place of digits.",
          RUVO_BEAMER_DATA("4F 4E 0D"), RUVO_BEAMER_DATA("4f4E0d")},
    Check{"hex-invalid", kError, "data that is not hexadecimal",
          "Data is hexadecimal, two digits a byte. Text is not: encode it with ruvoctl encode.",
          RUVO_BEAMER_DATA("POWER ON"), RUVO_BEAMER_DATA("504F574552204F4E")},
    Check{
        "data-zero-byte", kError, "a zero byte in the data",
        "Data is handled as text that ends at its first zero byte. The zero byte and all behind it "
        "never leave.",
        RUVO_BEAMER_DATA("8101040002FF"), RUVO_BEAMER_DATA("8101041002FF")},
    Check{
        "data-too-long", kError, "more than 103 bytes of data",
        "After macros and escapes at most 103 bytes of a step leave. Macros are counted with their "
        "longest values: the date 11 bytes, the time 8, the uptime 10, a status item its value.",
        RUVO_BEAMER_DATA("4141414141414141414141414141414141414141414141414141414141414141414141414"
                         "141414141414141414"
                         "1414141414141414141414141414141414141414141414141414141414141414141414141"
                         "414141414141414"
                         "1414141414141414141414141410D"),
        RUVO_BEAMER_DATA("4141414141414141414141414141414141414141414141414141414141414141414141414"
                         "141414141414141414"
                         "1414141414141414141414141414141414141414141414141414141414141414141414141"
                         "414141414141414"
                         "1414141414141414141414141")},
    Check{
        "data-altered", kError, "binary data that holds an escape or a macro",
        "In all data a backslash before n, r or t becomes a line feed, carriage return or tab, and "
        "text in double braces is a macro. In a binary frame these bytes are altered.",
        RUVO_BEAMER_DATA("81015C72FF02"), RUVO_BEAMER_DATA("81015C71FF02")},
    Check{"macro-not-closed", kError, "a macro without its closing braces",
          "Two opening braces without two closing ones behind them are sent as they stand.",
          RUVO_BEAMER_DATA("543D7B7B74696D657D"), RUVO_BEAMER_DATA("543D7B7B74696D657D7D")},
    Check{
        "unknown-macro", kError, "a macro that does not exist",
        "A macro is date, time or uptime in any case, or an item of the device's status report in "
        "exactly its own case. Any other vanishes from the data. The items are known with "
        "--status.",
        RUVO_BEAMER_DATA("7B7B504F5745527D7D"), RUVO_BEAMER_DATA("7B7B706F7765727D7D")},
    Check{
        "delay-stale", kError, "an event delay of a minute or longer",
        "An event that has waited for a minute is dropped, never run. Let the steps wait instead: "
        "their delays are milliseconds and have no such limit.",
        RUVO_BEAMER "BeamerDelay=60\n", RUVO_BEAMER "BeamerDelay=45\n"},
    Check{"delay-order", kError, "step delays not in rising index order",
          "A step's delay is added to that of the step before it as it stands at this line. Only "
          "when "
          "the Delay lines stand in rising index order do they add up.",
          "BeamerCount=2\n" RUVO_STEP("Beamer", "0", "UDP", "4F4E")
              RUVO_STEP("Beamer", "1", "UDP", "4F4E") "BeamerDelay1=200\nBeamerDelay0=100\n",
          "BeamerDelay0=100\nBeamerDelay1=200\nBeamerCount=2\n" RUVO_STEP(
              "Beamer", "1", "UDP", "4F4E") RUVO_STEP("Beamer", "0", "UDP", "4F4E")},
    Check{
        "blank-in-key", kError, "a blank in an event name",
        "A key is taken as it stands, blanks included, so the line belongs to an event of another "
        "name. A blank before an index does no harm.",
        RUVO_BEAMER " BeamerDelay0=5\n", RUVO_BEAMER "BeamerDelay 0=5\n"},
    Check{
        "byte-order-mark", kError, "a byte-order mark in front of the first key",
        "Some editors put three invisible bytes in front of a file. They belong to the first key, "
        "whose line is lost. Save the file without a byte-order mark.",
        "\xEF\xBB\xBF" RUVO_BEAMER, "\xEF\xBB\xBF# Beamer\n" RUVO_BEAMER},
    Check{"utf-16", kError, "a file in UTF-16",
          "In UTF-16 every other byte is zero, and a line ends at its first zero byte: nothing of "
          "the "
          "file is read. Save it as ASCII or UTF-8.",
          std::string_view("\xFF\xFEP\0o\0w\0e\0r\0\n\0", 14), "# \xC3\xA4\n" RUVO_BEAMER},
    Check{"zero-byte", kError, "a zero byte in a line",
          "A line ends at its first zero byte; what follows in the line is not read.",
          std::string_view("Beamer\0Count=1\n", 15), std::string_view("# \0\n", 4)},
    Check{
        "cr-line-ends", kError, "carriage returns as line ends",
        "A line ends with a line feed. Settings behind a lone carriage return are read as part of "
        "the value before it.",
        "BeamerCount=1\rBeamerIP0=10.1.2.3\r", "BeamerNote\r\rx\n" RUVO_BEAMER},
    Check{"long-line", kError, "a line longer than 2,047 characters",
          "A line is read in pieces of 2,047 characters, each a line of its own: the value is cut, "
          "and the rest is another setting or nothing.",
          "", ""},

    // --- warnings: probably not what is meant
    Check{
        "duplicate-count", kWarning, "two Count lines of one name",
        "Each Count of 1 or more makes an event. Of two with one name only the first is ever run.",
        RUVO_BEAMER "BeamerCount=1\n", RUVO_BEAMER "LampCount=0\n"},
    Check{"duplicate-key", kWarning, "a setting that a later line sets again", "The last one wins.",
          RUVO_BEAMER "BeamerPort0=5001\n", RUVO_BEAMER "BeamerDelay=1\nBeamerDelay0=1\n"},
    Check{"count-larger", kWarning, "a Count larger than the steps",
          "A step without lines sends nothing and leaves an empty line in the event log.",
          "BeamerCount=2\n" RUVO_STEP("Beamer", "0", "UDP", "4F4E0D"), RUVO_BEAMER},
    Check{"delay-gap", kWarning, "a step without a Delay among delayed ones",
          "A step without a Delay line counts from the event's start, not from the step before it, "
          "so "
          "it overtakes, and the delays behind it count from it. Give it a Delay of 0.",
          "BeamerCount=2\n" RUVO_STEP("Beamer", "0", "UDP", "4F4E")
              RUVO_STEP("Beamer", "1", "UDP", "4F4E") "BeamerDelay0=100\n",
          "BeamerCount=2\n" RUVO_STEP("Beamer", "0", "UDP", "4F4E")
              RUVO_STEP("Beamer", "1", "UDP", "4F4E") "BeamerDelay1=100\n"},
    Check{
        "indices-from-1", kWarning, "steps that begin at 1",
        "The first step is 0. Where steps are counted from 1, step 0 is empty and the last one is "
        "at the Count and so lost.",
        "BeamerCount=1\n" RUVO_STEP("Beamer", "1", "UDP", "4F4E0D"), RUVO_BEAMER},
    Check{"delay-negative", kWarning, "a negative delay",
          "A negative delay of an event is none. One of a step is taken off the delays before it.",
          RUVO_BEAMER "BeamerDelay0=-5\n", RUVO_BEAMER "BeamerDelay0=0\n"},
    Check{"delay-unit", kWarning, "a delay with a unit or a fraction",
          "A delay is a whole number: seconds for an event, milliseconds for a step. Reading stops "
          "at "
          "the first character that is no digit.",
          RUVO_BEAMER "BeamerDelay0=1s\n", RUVO_BEAMER "BeamerDelay0=1000 \r\n"},
    Check{"delay-milliseconds", kWarning, "an event delay that looks like milliseconds",
          "An event's delay is in seconds; only the delays of its steps are in milliseconds.",
          RUVO_BEAMER "BeamerDelay=50\n", RUVO_BEAMER "BeamerDelay=5\n"},
    Check{"protocol-both", kWarning, "a protocol that names both TCP and UDP",
          "TCP wins when both words occur.", RUVO_BEAMER_STEP("10.1.2.3", "5000", "UDP/TCP"),
          RUVO_BEAMER_STEP("10.1.2.3", "5000", "UDP")},
    Check{
        "status-with-data", kWarning, "a status variant with data",
        "A protocol that holds Status sends the device's status report. The step's own data never "
        "leaves.",
        RUVO_BEAMER_STEP("10.1.2.3", "5000", "UDPStatus"),
        "BeamerCount=1\nBeamerIP0=10.1.2.3\nBeamerPort0=5000\nBeamerProtocol0=UDPStatus\n"},
    Check{"status-misspelt", kWarning, "a status variant that is none",
          "A status variant holds the word Status in exactly these letters: TCPStatus, UDPStatus.",
          RUVO_BEAMER_STEP("10.1.2.3", "5000", "UDPstatus"),
          RUVO_BEAMER_STEP("10.1.2.3", "5000", "UDPs")},
    Check{"data-empty", kWarning, "a step without data",
          "An empty datagram is sent, or a connection is opened and closed.", RUVO_BEAMER_DATA(""),
          RUVO_BEAMER_DATA("20")},
    Check{
        "pending-512", kWarning, "more than 512 sends waiting together",
        "At most 512 sends wait or run at a time. When events are triggered together and more are "
        "waiting, the last ones are dropped.",
        "", ""},
    Check{"tcp-same-host", kWarning, "two TCP sends to one host within 2 s",
          "Every send opens a connection of its own and waits up to 2 s for a reply. Many devices "
          "take "
          "one connection at a time.",
          "BeamerCount=2\n" RUVO_STEP("Beamer", "0", "TCP", "4F4E")
              RUVO_STEP("Beamer", "1", "TCP", "4F4E"),
          "BeamerCount=2\n" RUVO_STEP("Beamer", "0", "TCP", "4F4E")
              RUVO_STEP("Beamer", "1", "TCP", "4F4E") "BeamerDelay1=2000\n"},
    Check{"maybe-broadcast", kWarning, "an address that ends in .255",
          "In a net with the usual mask this is the broadcast address, to which the device refuses "
          "to "
          "send. It depends on the net mask.",
          RUVO_BEAMER_STEP("10.1.2.255", "5000", "UDP"),
          RUVO_BEAMER_STEP("10.1.255.2", "5000", "UDP")},
    Check{
        "own-port", kWarning, "the device's own command or status port",
        "Port 2700 of the device takes triggers, 50001 and 50003 are those of its status service.",
        RUVO_BEAMER_STEP("127.0.0.1", "2700", "TCP"), RUVO_BEAMER_STEP("10.1.2.3", "2700", "TCP")},
    Check{"macro-shadowed", kWarning, "a built-in macro shadowed by a status item",
          "An item of the status report wins over the built-in macro of its name. The items are "
          "known "
          "with --status.",
          RUVO_BEAMER_DATA("7B7B74696D657D7D"), RUVO_BEAMER_DATA("7B7B54494D457D7D")},
    Check{
        "unproven-macro", kWarning, "a macro that only a status item can answer",
        "The name is no built-in macro. Whether the device reports an item of exactly this name is "
        "not known; give its report with --status.",
        RUVO_BEAMER_DATA("7B7B706F7765727D7D"), RUVO_BEAMER_DATA("7B7B755054696D657D7D")},
    Check{"empty-xmlfield", kWarning, "an empty XMLfield",
          "The event is run by an empty request and no longer by its own name.",
          RUVO_BEAMER "BeamerXMLfield=\n", RUVO_BEAMER "BeamerXMLfield=B\n"},
    Check{"trigger-is-other-event", kWarning, "a trigger name that is another event's name",
          "A trigger finds events by their trigger names, a test run by their names: the same text "
          "runs two different events.",
          RUVO_BEAMER "BeamerXMLfield=Lamp\nLampCount=1\nLampXMLfield=Light\n" RUVO_STEP(
              "Lamp", "0", "UDP", "4F4E"),
          RUVO_BEAMER "BeamerXMLfield=Lamps\nLampCount=1\nLampXMLfield=Light\n" RUVO_STEP(
              "Lamp", "0", "UDP", "4F4E")},
    Check{
        "built-in-redirected", kWarning, "a built-in event that its own trigger does not run",
        "The device itself triggers PowerOn, DVIConnected and DVIDisconnected by these names. With "
        "another XMLfield its trigger finds nothing.",
        "PowerOnCount=1\nPowerOnXMLfield=Start\n" RUVO_STEP("PowerOn", "0", "UDP", "4F4E"),
        "PowerOnCount=1\nPowerOnXMLfield=PowerOn\n" RUVO_STEP("PowerOn", "0", "UDP", "4F4E")},
    Check{"blank-end-trigger", kWarning, "a blank at the end of a trigger name",
          "Trigger names are compared byte for byte, blanks included.",
          RUVO_BEAMER "BeamerXMLfield=Lamp \n", RUVO_BEAMER "BeamerXMLfield=Lamp on\n"},
    Check{"built-in-case", kWarning, "a built-in name in another case",
          "The device triggers PowerOn, DVIConnected and DVIDisconnected in exactly these letters.",
          "poweronCount=1\n" RUVO_STEP("poweron", "0", "UDP", "4F4E"),
          "PowerOnCount=1\n" RUVO_STEP("PowerOn", "0", "UDP", "4F4E")},
    Check{"unknown-key", kWarning, "an unknown setting that looks like a known one",
          "Keys are compared byte for byte. One that is unknown is passed over without a word.",
          RUVO_BEAMER "BeamerProtocl0=UDP\n", RUVO_BEAMER "Room=Hall\n"},
    Check{"comment-is-setting", kWarning, "a comment that is a setting",
          "There are no comments: a line with \"=\" is a setting, whatever it begins with. A line "
          "without \"=\" is passed over.",
          RUVO_BEAMER "#LampCount=1\n", RUVO_BEAMER "# Lamp: one\n"},
    Check{"generic-events-count", kWarning, "GenericEventsCount above 0",
          "It does not say how many events there are; it makes one of the name GenericEvents.",
          RUVO_BEAMER "GenericEventsCount=1\n", RUVO_BEAMER "GenericEventsCount=0\n"},
    Check{"word-size", kWarning, "a number that devices read differently",
          "Numbers beyond 32 bits depend on the device's word size. Give it with --word.",
          RUVO_BEAMER_STEP("10.1.2.3", "4294972296", "UDP"),
          RUVO_BEAMER_STEP("10.1.2.3", "00000000005000", "UDP")},
    Check{"look-alike", kWarning, "text that looks like a macro or a byte",
          "A macro has two braces; a byte is written as its two hexadecimal digits. {time}, \\x0D "
          "and "
          "<CR> as text are sent as they stand.",
          RUVO_BEAMER_DATA("7B74696D657D"), RUVO_BEAMER_DATA("7B226F6E223A317D")},
    Check{"log-shows-more", kWarning, "the event log shows more than leaves",
          "The event log shows the data before it is cut to 103 bytes.",
          RUVO_BEAMER_DATA("41414141414141414141414141414141414141414141414141414141414141414141414"
                           "14141414141414141414"
                           "14141414141414141414141414141414141414141414141414141414141414141414141"
                           "41414141414141414"
                           "1414141414141414141414141410D"),
          RUVO_BEAMER},

    // --- information
    Check{
        "unread-key", kInformation, "a setting that nothing reads",
        "The daemon passes it over. EnableEvents, FastCableDetectEvents and DataEncode are part of "
        "the default settings and have no effect: the switch is the device's own setting "
        "network.ruvo.enable, and data is always hexadecimal.",
        RUVO_BEAMER "Room=Hall\n", RUVO_BEAMER "DataEncode=HEX\n"},
    Check{
        "power-on-window", kInformation, "the power-on window",
        "DVIConnected and DVIDisconnected are skipped while the device powers on: in the first 120 "
        "seconds of uptime, for a second or more after every restart of the daemon, and for as "
        "long "
        "as the status service is absent. Test runs are not.",
        "DVIConnectedCount=1\n" RUVO_STEP("DVIConnected", "0", "UDP", "4F4E"), RUVO_BEAMER},
    Check{"date-blank", kInformation, "the date ends in a blank",
          "{{date}} is replaced by the date and a blank, so {{date}}{{time}} needs none between "
          "them.",
          RUVO_BEAMER_DATA("7B7B646174657D7D"), RUVO_BEAMER_DATA("7B7B74696D657D7D")},
    Check{"macro-moment", kInformation, "macro values of the moment of the trigger",
          "Macros are replaced when the event is triggered, also in steps that are sent later.",
          RUVO_BEAMER_DATA("7B7B74696D657D7D") "BeamerDelay0=500\n",
          RUVO_BEAMER_DATA("7B7B74696D657D7D") "BeamerDelay0=0\n"},
    Check{
        "no-effect", kInformation, "lines without any effect",
        "How many settings of the file change nothing. Comments, empty lines and the lines of the "
        "default settings are not counted.",
        RUVO_BEAMER "Room=Hall\n", RUVO_BEAMER "Room: Hall\n"},
};

#undef RUVO_STEP
#undef RUVO_BEAMER
#undef RUVO_BEAMER_DATA
#undef RUVO_BEAMER_STEP

}  // namespace

std::span<const Check> catalogue() { return kCatalogue; }

const Check* find_check(std::string_view id) {
    const auto found = std::find_if(kCatalogue.begin(), kCatalogue.end(),
                                    [id](const Check& check) { return check.id == id; });
    return found == kCatalogue.end() ? nullptr : &*found;
}

}  // namespace ruvo::ctl

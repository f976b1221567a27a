// Steps that no event has are examined as if its Count were right.

#include "ruvoctl/check/corrected_copy.h"
#include "tests/ruvoctl/checked.h"

namespace ruvo::ctl {
namespace {

constexpr const char* kFaultyStep =
    "BeamerIP0=beamer.local\nBeamerPort0=70000\nBeamerProtocol0=tcp\nBeamerData0=81 01\n";

TEST(CheckLostSteps, OfAnEventWithoutAUsableCount) {
    const std::string faults =
        "error ip-invalid Beamer.0; 3:13 error port-invalid Beamer.0; "
        "4:17 error protocol-unknown Beamer.0; 5:15 error hex-separated Beamer.0";
    const std::string lines = kFaultyStep;
    expect_cases({
        {"no Count", "\n" + lines, "2:1 error count-missing Beamer; 2:11 " + faults},
        {"garbage",
         "BeamerCount=one\n" + lines,
         "1:13 error count-garbage Beamer; 2:11 " + faults,
         {"once the step exists: it is logged as sent, and nothing leaves"}},
        {"a byte-order mark before it",
         "\xEF\xBB\xBF"
         "BeamerCount=1\n" +
             lines,
         "1:1 error byte-order-mark Beamer; 2:11 " + faults},
        {"a blank in it", "Beamer Count=1\n" + lines,
         "1:7 error blank-in-key Beamer; 2:11 " + faults},
        {"switched off, which may be meant", "BeamerCount=0\n" + lines,
         "1:13 error count-not-positive Beamer"},
    });
}

TEST(CheckLostSteps, BeyondTheCount) {
    expect_cases({
        {"a host name there", good_and("BeamerIP1=beamer.local\n"),
         "6:1 error index-beyond-count Beamer.1; 6:11 error ip-invalid Beamer.1"},
        {"what is good there", good_and("BeamerIP1=10.1.2.4\n"),
         "6:1 error index-beyond-count Beamer.1"},
    });
}

TEST(CheckLostSteps, ACarriageReturnInTheTriggerNameOfALostEvent) {
    expect_cases({
        {"in front of the steps",
         "BeamerXMLfield=Lamp\r\n" + step_lines(0),
         "1:20 error cr-in-trigger Beamer; 2:1 error count-missing Beamer",
         {"once the event exists: a trigger \"Lamp\" does not run it"}},
    });
}

TEST(CheckLostSteps, TheirCorrectionsAreMadeInOneCopy) {
    const std::string text =
        "BeamerCount=one\r\nBeamerIP0=10.1.2.3\r\nBeamerPort0=5000\r\n"
        "BeamerProtocol0=udp\r\nBeamerData0=81 01\r\n";
    EXPECT_EQ(corrected_copy(read_source(text), {}),
              "BeamerCount=1\r\nBeamerIP0=10.1.2.3\nBeamerPort0=5000\r\n"
              "BeamerProtocol0=UDP\r\nBeamerData0=8101\r\n");
}

}  // namespace
}  // namespace ruvo::ctl

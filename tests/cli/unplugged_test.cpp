// SPDX-License-Identifier: MIT
// A camera that is pulled out, or falls silent, while taveloctl talks to it.
#include <gmock/gmock.h>

#include "cli/taveloctl_fixture.h"

namespace tavelo {
namespace {

using ::testing::HasSubstr;

struct Verb {
    const char* name;
    std::vector<std::string> words;
};

class Unplugged : public TaveloctlTest, public ::testing::WithParamInterface<Verb> {
protected:
    /// Calls the verb; the camera is gone before this request reaches it.
    Called callWithVanishingAt(std::size_t request) {
        beforeRequest_ = [this, request](std::size_t number) {
            if (number == request) camera(1)->vanish();
        };
        return call(GetParam().words);
    }
    std::size_t requestsOfAWholeCall() {
        std::size_t requests = 0;
        beforeRequest_ = [&requests](std::size_t number) { requests = number; };
        const Called called = call(GetParam().words);
        EXPECT_EQ(called.status, 0) << called.error;
        return requests;
    }
};

TEST_P(Unplugged, IsSaidWhicheverRequestIsTheFirstWithoutAnAnswer) {
    plug(1);
    output({"set", "contrast=5"});
    output({"save", "1"});
    const std::string stored = read(preferencesFile());
    const std::size_t requests = requestsOfAWholeCall();
    ASSERT_GT(requests, 0U);
    for (std::size_t number = 1; number <= requests; ++number) {
        SCOPED_TRACE("request " + std::to_string(number) + " of " + std::to_string(requests));
        write(preferencesFile(), stored);
        if (camera(1)) camera(1)->vanish();
        plug(1);
        const Called called = callWithVanishingAt(number);
        EXPECT_EQ(called.status, 3);
        EXPECT_THAT(called.error, HasSubstr("unplugged"));
        EXPECT_EQ(called.output, "");
        EXPECT_EQ(read(preferencesFile()), stored);
    }
}

INSTANTIATE_TEST_SUITE_P(Each, Unplugged,
                         ::testing::Values(Verb{"controls", {"controls"}},
                                           Verb{"get", {"get", "zoom", "pan"}},
                                           Verb{"set", {"set", "zoom=200", "contrast=7"}},
                                           Verb{"reset", {"reset"}}, Verb{"send", {"send"}},
                                           Verb{"apply", {"apply", "1"}}, Verb{"save", {"save", "2"}}),
                         [](const auto& verb) { return std::string(verb.param.name); });

class Silent : public TaveloctlTest {
protected:
    Silent() {
        plug(1);
        output({"set", "contrast=5"});
        output({"save", "1"});
        stored_ = read(preferencesFile());
    }

    void silence(ControlAddress control, FaultDirection direction) {
        camera(1)->order({.kind = FaultKind::silence, .control = control, .direction = direction});
    }

    std::string stored_;
};

TEST_F(Silent, AtAWriteIsNamed) {
    silence(control::contrast, FaultDirection::writes);
    EXPECT_EQ(failure({"set", "contrast=7"}), "1: contrast: the camera did not answer");
}

TEST_F(Silent, AtResetAndSendIsNamed) {
    camera(1)->order({.kind = FaultKind::silence, .direction = FaultDirection::writes});
    EXPECT_EQ(failure({"reset"}), "1: Tavelo Virtual Camera 1: it did not answer");
    EXPECT_EQ(failure({"send"}), "1: Tavelo Virtual Camera 1: it did not answer");
}

TEST_F(Silent, AtReadingOneControlLeavesWhatWasReadBefore) {
    silence(control::gain, FaultDirection::reads);
    EXPECT_EQ(output({"get", "contrast"}), "5\n");
    EXPECT_EQ(failure({"get", "gain"}),
              "1: the camera has no gain, or did not answer when it was read "
              "(taveloctl controls lists what it has)");
    EXPECT_EQ(failure({"set", "contrast=9"}), "1: contrast: the camera did not answer");
}

TEST_F(Silent, AtReadingStoresNothing) {
    silence(control::brightness, FaultDirection::reads);
    EXPECT_EQ(failure({"save", "2"}), "1: Tavelo Virtual Camera 1: it did not answer, so nothing was saved");
    EXPECT_EQ(read(preferencesFile()), stored_);
}

TEST_F(Silent, AsTheTargetOfACopyGetsNoRecord) {
    plug(2);
    camera(2)->order(
        {.kind = FaultKind::silence, .control = control::brightness, .direction = FaultDirection::reads});
    EXPECT_EQ(failure({"-c", "1", "copy", "1", "3", "--to-camera", "2"}),
              "1: Tavelo Virtual Camera 2: it did not answer, so nothing was saved");
    EXPECT_EQ(read(preferencesFile()), stored_);
}

} // namespace
} // namespace tavelo

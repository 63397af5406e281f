// SPDX-License-Identifier: MIT
// Requirements on every preferences store: the one on disk and the in-memory one used by other tests.
#include <sys/file.h>

#include <gmock/gmock.h>

#include <QFile>
#include <QTemporaryDir>

#include "platform/linux/preferences/json_preferences_store.h"
#include "support/memory_preferences_store.h"
#include "support/synchronized.h"

namespace tavelo {
namespace {

PreferencesValue number(std::int64_t value) {
    return {value};
}

/// A store whose writes can be made to fail.
class StoreUnderTest {
public:
    virtual ~StoreUnderTest() = default;
    virtual PreferencesStore& store() = 0;
    virtual void setFails(bool fails) = 0;
};

class OnDisk final : public StoreUnderTest {
public:
    explicit OnDisk(testing::ManualMainQueue& mainQueue)
        : store_(mainQueue, folder_.filePath(QStringLiteral("panel.json")),
                 {.lock = std::chrono::milliseconds(0)}),
          lock_(folder_.filePath(QStringLiteral("panel.json.lock"))) {}

    PreferencesStore& store() override { return store_; }
    void setFails(bool fails) override {
        if (fails) {
            ASSERT_TRUE(lock_.open(QIODevice::ReadWrite));
            ASSERT_EQ(flock(lock_.handle(), LOCK_EX), 0);
        } else {
            lock_.close();
        }
    }

private:
    const QTemporaryDir folder_;
    JsonPreferencesStore store_;
    QFile lock_;
};

class InMemory final : public StoreUnderTest {
public:
    explicit InMemory(testing::ManualMainQueue& mainQueue) : store_(mainQueue) {}

    PreferencesStore& store() override { return store_; }
    void setFails(bool fails) override { store_.setFails(fails); }

private:
    MemoryPreferencesStore store_;
};

template <typename Kind>
class StoreContract : public ::testing::Test {
protected:
    PreferencesStore& store() { return kind_->store(); }

    testing::ManualMainQueue mainQueue_;
    std::unique_ptr<StoreUnderTest> kind_ = std::make_unique<Kind>(mainQueue_);
};

using Kinds = ::testing::Types<OnDisk, InMemory>;

class KindNames {
public:
    template <typename Kind>
    static std::string GetName(int /*index*/) {
        return std::is_same_v<Kind, OnDisk> ? "OnDisk" : "InMemory";
    }
};

TYPED_TEST_SUITE(StoreContract, Kinds, KindNames);

TYPED_TEST(StoreContract, AnswersWhatWasSetAtOnce) {
    EXPECT_EQ(this->store().objectForKey("key"), std::nullopt);
    this->store().setObject(number(1), "key");
    EXPECT_EQ(this->store().objectForKey("key"), number(1));
}

TYPED_TEST(StoreContract, CallsHandlersLaterAndInTheirOrder) {
    std::vector<int> called;
    this->store().setObject(number(1), "key");
    this->store().synchronize([&called](bool saved) { called.push_back(saved ? 1 : -1); });
    this->store().synchronize([&called](bool saved) { called.push_back(saved ? 2 : -2); });
    this->store().synchronize({});
    EXPECT_TRUE(called.empty());
    ASSERT_TRUE(this->mainQueue_.runUntil([&called] { return called.size() == 2; }));
    EXPECT_EQ(called, (std::vector{1, 2}));
}

TYPED_TEST(StoreContract, HasNothingToWriteIfNothingChanged) {
    EXPECT_TRUE(synchronized(this->store(), this->mainQueue_));
}

TYPED_TEST(StoreContract, WhatCouldNotBeWrittenStaysAndIsWrittenWithTheNext) {
    ::testing::internal::CaptureStderr();
    this->kind_->setFails(true);
    this->store().setObject(number(1), "key");
    EXPECT_FALSE(synchronized(this->store(), this->mainQueue_));
    EXPECT_EQ(this->store().objectForKey("key"), number(1));
    this->kind_->setFails(false);
    EXPECT_TRUE(synchronized(this->store(), this->mainQueue_));
    ::testing::internal::GetCapturedStderr();
}

TYPED_TEST(StoreContract, WhatAHandlerSetsAfterAFailureIsPartOfTheNextWrite) {
    ::testing::internal::CaptureStderr();
    this->store().setObject(number(1), "key");
    ASSERT_TRUE(synchronized(this->store(), this->mainQueue_));
    this->kind_->setFails(true);
    this->store().setObject(number(2), "key");
    std::optional<bool> second;
    this->store().synchronize([this](bool saved) {
        EXPECT_FALSE(saved);
        this->store().setObject(number(1), "key");
        this->kind_->setFails(false);
    });
    this->store().setObject(number(5), "other");
    this->store().synchronize([&second](bool saved) { second = saved; });
    ASSERT_TRUE(this->mainQueue_.runUntil([&second] { return second.has_value(); }));
    EXPECT_EQ(this->store().objectForKey("key"), number(1));
    EXPECT_EQ(this->store().objectForKey("other"), number(5));
    ::testing::internal::GetCapturedStderr();
}

TYPED_TEST(StoreContract, AHandlerMayWaitInATurnOfTheMainQueueOfItsOwn) {
    bool nested = false;
    this->store().setObject(number(1), "key");
    this->store().synchronize([&](bool) {
        // Like a modal alert does.
        this->store().setObject(number(2), "key");
        nested = synchronized(this->store(), this->mainQueue_);
    });
    EXPECT_TRUE(this->mainQueue_.runUntil([&nested] { return nested; }));
}

TYPED_TEST(StoreContract, NamesTheKeysThatHaveAValueEachOnce) {
    EXPECT_TRUE(this->store().keys().empty());
    this->store().setObject(number(1), "stored");
    EXPECT_TRUE(synchronized(this->store(), this->mainQueue_));
    this->store().setObject(number(2), "stored");
    this->store().setObject(number(3), "set");
    EXPECT_THAT(this->store().keys(), ::testing::UnorderedElementsAre("stored", "set"));
}

TYPED_TEST(StoreContract, SetsAMissingKeyOnly) {
    this->store().setObjectIfMissing(number(1), "key");
    EXPECT_EQ(this->store().objectForKey("key"), number(1));
    this->store().setObjectIfMissing(number(2), "key");
    EXPECT_EQ(this->store().objectForKey("key"), number(1));
    EXPECT_TRUE(synchronized(this->store(), this->mainQueue_));
    EXPECT_EQ(this->store().objectForKey("key"), number(1));
}

TYPED_TEST(StoreContract, CallsNoHandlersAfterDestruction) {
    this->store().setObject(number(1), "key");
    this->store().synchronize([](bool) { ADD_FAILURE(); });
    this->kind_.reset();
    bool turned = false;
    this->mainQueue_.post([&turned] { turned = true; });
    EXPECT_TRUE(this->mainQueue_.runUntil([&turned] { return turned; }));
}

} // namespace
} // namespace tavelo

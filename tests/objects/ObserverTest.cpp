#include "TestThing.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "objects/UpdateBracket.h"
#include "services/Log.h"

#include <stdexcept>

using namespace tw;
using namespace tw::testing;
using ::testing::StrEq;
using ::testing::ThrowsMessage;

TEST(Observers, WalkSurvivesObserversLeavingAndJoiningDuringNotification) {
    TObservable observable;
    std::vector<std::string> calls;
    TObserver second([&](TNotifySender) { calls.push_back("second"); });
    TObserver third([&](TNotifySender) { calls.push_back("third"); });
    TObserver late([&](TNotifySender) { calls.push_back("late"); });
    TObserver first([&](TNotifySender) {
        calls.push_back("first");
        observable.DetachObserver(&first);  // itself
        observable.DetachObserver(&second); // one not yet visited
        observable.AttachObserver(&late);   // joins behind the cursor
    });
    observable.AttachObserver(&first);
    observable.AttachObserver(&second);
    observable.AttachObserver(&third);
    observable.NotifyObservers();
    EXPECT_EQ(calls, (std::vector<std::string>{"first", "third", "late"}));
    EXPECT_EQ(first.ObservableCount(), 0u);
    EXPECT_EQ(second.ObservableCount(), 0u);

    // A disabled observer is skipped; an extended-only observer hears the plain form too.
    int code = 0;
    TObserver extended([&](TNotifySender, int c) { code = c; });
    observable.AttachObserver(&extended);
    third.SetEnabled(false);
    calls.clear();
    observable.NotifyObservers(nullptr);
    EXPECT_EQ(calls, (std::vector<std::string>{"late"}));
    EXPECT_TRUE(IsDefaultNotification(code));
    observable.NotifyObservers(nullptr, 7);
    EXPECT_EQ(code, 7);
}

TEST(Observers, DestructionDetachesBothSides) {
    TCountingObserver observer;
    {
        TObservable a, b;
        a.AttachObserver(&observer);
        b.AttachObserver(&observer);
        a.AttachObserver(&observer); // only once
        EXPECT_EQ(observer.ObservableCount(), 2u);
    }
    EXPECT_EQ(observer.ObservableCount(), 0u);
    TObservable c;
    {
        TCountingObserver shortLived;
        c.AttachObserver(&shortLived);
    }
    EXPECT_EQ(c.ObserverCount(), 0u);
    c.NotifyObservers(); // must not reach the dead observer
}

TEST(Observers, EndlessNestingIsStoppedWithAClearMessage) {
    TObservable observable;
    TObserver recursive([&](TNotifySender) { observable.NotifyObservers(); });
    observable.AttachObserver(&recursive);
    EXPECT_THAT([&] { observable.NotifyObservers(); },
                ThrowsMessage<EEnumerableObjectList>(
                    StrEq("Too many concurrent listeners. Perhaps infinite recursion?")));
    // The walks unwound: the list works normally afterwards.
    observable.DetachObserver(&recursive);
    TCountingObserver counting;
    observable.AttachObserver(&counting);
    observable.NotifyObservers();
    EXPECT_EQ(counting.Count, 1);
}

TEST(Observers, UpdateBracketsCoalesceIntoOneNotification) {
    TObservable observable;
    TCountingObserver observer;
    observable.AttachObserver(&observer);
    observable.EndUpdate(); // at level 0: nothing
    observable.BeginUpdate();
    observable.BeginUpdate();
    observable.NotifyObservers();
    observable.NotifyObservers();
    observable.EndUpdate();
    EXPECT_EQ(observer.Count, 0);
    observable.EndUpdate();
    EXPECT_EQ(observer.Count, 1);
    observable.BeginUpdate();
    observable.EndUpdate(); // nothing suppressed, nothing sent
    EXPECT_EQ(observer.Count, 1);
}

TEST(UpdateBracket, OneNotificationForAllChangesAndNoExceptionFromTheDestructor) {
    TObservable observable;
    int heard = 0;
    bool observerFails = false;
    TObserver observer([&](TNotifySender) {
        ++heard;
        if (observerFails)
            throw std::runtime_error("observer fails");
    });
    observable.AttachObserver(&observer);
    {
        TUpdateBracket update(observable);
        observable.NotifyObservers();
        observable.NotifyObservers();
        EXPECT_EQ(heard, 0);
        update.Close();
    }
    EXPECT_EQ(heard, 1);

    // Closing lets the observer's failure through...
    observerFails = true;
    TUpdateBracket failing(observable);
    observable.NotifyObservers();
    EXPECT_THROW(failing.Close(), std::runtime_error);
    EXPECT_EQ(observable.LockLevel(), 0);

    // ...while a bracket left by an exception ends the update, logs, and lets the first
    // exception pass.
    std::vector<std::string> logged;
    TLogSink previous = SetLogSink([&](const std::string& message) { logged.push_back(message); });
    EXPECT_THROW(
        {
            TUpdateBracket update(&observable);
            observable.NotifyObservers();
            throw std::logic_error("the action fails");
        },
        std::logic_error);
    SetLogSink(previous);
    EXPECT_EQ(observable.LockLevel(), 0);
    ASSERT_EQ(logged.size(), 1u);
    EXPECT_EQ(logged[0], "ending an update failed: observer fails");
    observable.DetachObserver(&observer);
}

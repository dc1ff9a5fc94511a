// What holds with several threads: references to one object come and go anywhere, and separate figures are
// used side by side. Figures are made on one thread.
#include <atomic>
#include <cmath>
#include <functional>
#include <latch>
#include <thread>

#include "tests/module/Harness.h"

namespace {

constexpr int kThreads = 8;

const wchar_t* const kNames[] = {L"ROIDonut",         L"ROIArcDonut", L"ROIEllipse",   L"ROIMask",
                                 L"ROIParallelogram", L"ROIProfile",  L"ROIRectangle", L"ROIShape"};

/// Runs the work on all threads at once, each with its number.
void OnAllThreads(const std::function<void(int)>& work) {
    std::latch ready(kThreads);
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&, i] {
            ready.arrive_and_wait();
            work(i);
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

TEST(Threads, AddAndReleaseReferencesToOneObject) {
    for (const wchar_t* name : kNames) {
        const auto figure = Create<IROI>(name);
        OnAllThreads([&](int) {
            for (int i = 0; i < 5000; ++i) {
                const auto asked = As<IObjectInfo>(figure.Get());
                figure->AddRef();
                asked->AddRef();
                figure->Release();
                asked->Release();
            }
        });
        EXPECT_EQ(figure->AddRef(), 2) << testing::PrintToString(name);
        EXPECT_EQ(figure->Release(), 1) << testing::PrintToString(name);
    }
}

TEST(Threads, DestroyAnObjectOnceWhoeverReleasesItLast) {
    for (int round = 0; round < 100; ++round) {
        auto profile = Create<IROIProfile>(L"ROIProfile");
        ASSERT_TRUE(profile);
        const long allocations = LiveAllocations();
        profile->AddPoint(1, 2);
        for (int i = 1; i < kThreads; ++i) {
            profile->AddRef();
        }
        IROIProfile* const shared = profile.Detach();
        std::atomic<int> destroyed{0};
        OnAllThreads([&](int) {
            shared->HitTest(1, 2, nullptr);  // A look at what another thread may be about to destroy.
            destroyed += shared->Release() == 0;
        });
        EXPECT_EQ(destroyed, 1);
        EXPECT_LT(LiveAllocations(), allocations);
    }
}

/// A sum over all that can be asked of a figure while it is moved about.
double Use(IROI* figure) {
    double sum = 0;
    for (int i = 0; i < 200; ++i) {
        double x = 0, y = 0;
        Affine turn(0.8, 0.6, -0.6, 0.8, i % 7, -3);
        figure->Transform(&turn);
        figure->SetCenter(50 + i % 5, 40);
        figure->GetCenter(&x, &y);
        sum += x + y;
        figure->GetBoundingSize(&x, &y);
        int left = 0, top = 0;
        unsigned width = 0, height = 0;
        figure->GetBoundingRect(&left, &top, &width, &height);
        sum += x + y + left + top + width + height;
        for (int k = 0; k < 20; ++k) {
            sum += figure->HitTest(30 + 2 * k, 40, nullptr) == S_OK;
        }
        SmartPtr<IUnknown> copy;
        if (!As<IROIMask>(figure)) {  // A mask's copy makes a rectangle through the siblings.
            figure->Replicate(copy.Receive());
        }
        sum += copy ? 1 : 0;
    }
    return sum;
}

SmartPtr<IROI> MakeNumber(int i) {
    auto figure = Create<IROI>(kNames[i]);
    auto profile = As<IROIProfile>(figure.Get());
    for (int k = 0; profile && k < 30; ++k) {
        profile->AddPoint(10 + 3 * k, 40 + k % 4);
    }
    return figure;
}

TEST(Threads, UseSeparateFiguresSideBySide) {
    double alone[kThreads], together[kThreads];
    std::vector<SmartPtr<IROI>> figures;
    for (int i = 0; i < kThreads; ++i) {
        alone[i] = Use(MakeNumber(i).Get());
        figures.push_back(MakeNumber(i));
    }
    OnAllThreads([&](int i) { together[i] = Use(figures[static_cast<std::size_t>(i)].Get()); });
    for (int i = 0; i < kThreads; ++i) {
        EXPECT_EQ(together[i], alone[i]) << testing::PrintToString(kNames[i]);
    }
}

}  // namespace

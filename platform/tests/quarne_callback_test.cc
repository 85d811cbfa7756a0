#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "base/bind.h"
#include "base/callback.h"
#include "base/memory/ref_counted.h"
#include "base/memory/scoped_refptr.h"
#include "base/threading/thread.h"
#include "tev/testing/flush.h"

namespace {

// Counts its own destructions, so a test can see exactly when a callback lets go of it.
class Tracked {
 public:
  explicit Tracked(int* destructions) : destructions_(destructions) {}
  ~Tracked() { ++*destructions_; }

 private:
  int* destructions_;
};

class Counter {
 public:
  int Add(int amount) { return total_ += amount; }
  int Get() const { return total_; }

 private:
  int total_ = 0;
};

class RefCountedCounter : public base::RefCountedThreadSafe<RefCountedCounter> {
 public:
  explicit RefCountedCounter(int* destructions) : destructions_(destructions) {}
  int Add(int amount) { return total_ += amount; }

 private:
  friend class base::RefCountedThreadSafe<RefCountedCounter>;
  ~RefCountedCounter() { ++*destructions_; }

  int* destructions_;
  int total_ = 0;
};

TEST(OnceCallbackTest, MoveOnlyBoundArgumentIsHandedOverOnRunAndTheCallbackIsSpent) {
  int destructions = 0;
  int runs = 0;
  base::OnceCallback<int(int)> callback = base::BindOnce(
      [](int* runs, std::unique_ptr<Tracked> tracked, int value) {
        ++*runs;
        return tracked ? value * 2 : -1;
      },
      &runs, std::make_unique<Tracked>(&destructions));
  EXPECT_FALSE(callback.is_null());
  EXPECT_EQ(std::move(callback).Run(21), 42);
  EXPECT_EQ(runs, 1);
  // The function took ownership, and nothing else kept a copy.
  EXPECT_EQ(destructions, 1);
  EXPECT_TRUE(callback.is_null());
}

TEST(OnceCallbackTest, DestroyingItUnrunReleasesBoundArguments) {
  int destructions = 0;
  {
    base::OnceClosure callback =
        base::BindOnce([](std::unique_ptr<Tracked>) {}, std::make_unique<Tracked>(&destructions));
    base::OnceClosure moved = std::move(callback);
    EXPECT_EQ(destructions, 0);
  }
  EXPECT_EQ(destructions, 1);
}

TEST(OnceCallbackTest, MoveOnlyUnboundArgumentsAndCallbacksAsFunctors) {
  base::OnceCallback<int(std::unique_ptr<int>)> deref =
      base::BindOnce([](std::unique_ptr<int> value) { return *value; });
  EXPECT_EQ(std::move(deref).Run(std::make_unique<int>(7)), 7);

  base::OnceCallback<std::string(std::string, std::string)> join =
      base::BindOnce([](std::string a, std::string b) { return a + b; });
  base::OnceCallback<std::string(std::string)> prefixed = base::BindOnce(std::move(join), "pre");
  EXPECT_EQ(std::move(prefixed).Run("fix"), "prefix");
}

TEST(RepeatingCallbackTest, CopiesShareOneFunctorAndItsState) {
  base::RepeatingCallback<int()> first =
      base::BindRepeating([count = 0]() mutable { return ++count; });
  base::RepeatingCallback<int()> second = first;
  EXPECT_TRUE(first.Equals(second));
  EXPECT_EQ(first.Run(), 1);
  EXPECT_EQ(second.Run(), 2);
  EXPECT_EQ(first.Run(), 3);
  EXPECT_FALSE(first.Equals(base::BindRepeating([] { return 0; })));
}

TEST(RepeatingCallbackTest, BoundArgumentsSurviveEveryRun) {
  base::RepeatingCallback<std::string(const std::string&)> greet = base::BindRepeating(
      [](std::string greeting, const std::string& name) { return greeting + " " + name; },
      std::string("hello"));
  EXPECT_EQ(greet.Run("a"), "hello a");
  EXPECT_EQ(greet.Run("b"), "hello b");
}

TEST(RepeatingCallbackTest, ConvertingToOnceLeavesTheSharedStateIntact) {
  base::RepeatingCallback<std::string()> repeating =
      base::BindRepeating([](std::string value) { return value; }, std::string("kept"));
  base::OnceCallback<std::string()> once = repeating;
  EXPECT_EQ(std::move(once).Run(), "kept");
  // Running the once copy must not have moved the bound string out from under the original.
  EXPECT_EQ(repeating.Run(), "kept");

  base::OnceCallback<std::string()> taken = std::move(repeating);
  EXPECT_TRUE(repeating.is_null());
  EXPECT_EQ(std::move(taken).Run(), "kept");
}

TEST(RepeatingCallbackTest, ResettingItselfWhileRunningKeepsTheRunningStateAlive) {
  base::RepeatingClosure callback;
  std::string seen;
  callback = base::BindRepeating(
      [](base::RepeatingClosure* self, std::string* seen, std::string bound) {
        self->Reset();
        *seen = bound;
      },
      &callback, &seen, std::string(64, 'x'));
  callback.Run();
  EXPECT_EQ(seen, std::string(64, 'x'));
  EXPECT_TRUE(callback.is_null());
}

TEST(CallbackTest, NullStatesAndReset) {
  base::OnceClosure once;
  base::RepeatingClosure repeating = nullptr;
  EXPECT_TRUE(once.is_null());
  EXPECT_FALSE(static_cast<bool>(repeating));
  repeating = base::BindRepeating([] {});
  EXPECT_TRUE(static_cast<bool>(repeating));
  base::RepeatingClosure copy = repeating;
  repeating.Reset();
  EXPECT_TRUE(repeating.is_null());
  EXPECT_FALSE(copy.is_null());
  once = copy;
  once.Reset();
  EXPECT_TRUE(once.is_null());
  EXPECT_FALSE(copy.is_null());
}

TEST(BindTest, MemberFunctionsWithUnretainedReceivers) {
  Counter counter;
  base::RepeatingCallback<int(int)> add =
      base::BindRepeating(&Counter::Add, base::Unretained(&counter));
  EXPECT_EQ(add.Run(2), 2);
  EXPECT_EQ(add.Run(3), 5);
  base::OnceCallback<int()> add_ten = base::BindOnce(&Counter::Add, base::Unretained(&counter), 10);
  EXPECT_EQ(std::move(add_ten).Run(), 15);
  base::RepeatingCallback<int()> get =
      base::BindRepeating(&Counter::Get, base::Unretained(&counter));
  EXPECT_EQ(get.Run(), 15);
}

TEST(BindTest, AScopedRefptrReceiverIsKeptAliveUntilTheCallbackLetsGo) {
  int destructions = 0;
  scoped_refptr<RefCountedCounter> counter = base::MakeRefCounted<RefCountedCounter>(&destructions);
  base::RepeatingCallback<int(int)> repeating =
      base::BindRepeating(&RefCountedCounter::Add, counter);
  base::OnceCallback<int()> once = base::BindOnce(&RefCountedCounter::Add, counter, 100);
  counter.reset();
  EXPECT_EQ(repeating.Run(1), 1);
  EXPECT_EQ(std::move(once).Run(), 101);
  // The once callback released its reference when it ran.
  EXPECT_EQ(destructions, 0);
  EXPECT_EQ(repeating.Run(1), 102);
  repeating.Reset();
  EXPECT_EQ(destructions, 1);
}

TEST(BindTest, PartialApplicationPutsBoundArgumentsFirst) {
  auto describe = [](int a, const std::string& b, double c, std::string d) {
    return std::to_string(a) + b + std::to_string(static_cast<int>(c)) + d;
  };
  EXPECT_EQ(base::BindOnce(describe, 1, std::string("-")).Run(2.0, "!"), "1-2!");
  base::RepeatingCallback<std::string(std::string)> three_bound =
      base::BindRepeating(describe, 3, std::string("+"), 4.0);
  EXPECT_EQ(three_bound.Run("?"), "3+4?");
  base::RepeatingCallback<std::string()> all_bound =
      base::BindRepeating(describe, 5, std::string("*"), 6.0, std::string("."));
  EXPECT_EQ(all_bound.Run(), "5*6.");
}

TEST(RefCountedTest, ConcurrentCopiesOnSeveralThreadsDeleteExactlyOnce) {
  int destructions = 0;
  scoped_refptr<RefCountedCounter> shared = base::MakeRefCounted<RefCountedCounter>(&destructions);
  std::vector<std::unique_ptr<base::Thread>> threads;
  for (int t = 0; t < 4; ++t) {
    threads.push_back(std::make_unique<base::Thread>("refcount"));
    ASSERT_TRUE(threads.back()->Start());
    threads.back()->task_runner()->PostTask(
        FROM_HERE, base::BindOnce(
                       [](scoped_refptr<RefCountedCounter> shared) {
                         std::vector<scoped_refptr<RefCountedCounter>> copies(1000, shared);
                       },
                       shared));
  }
  shared.reset();
  for (const auto& thread : threads) ASSERT_TRUE(tev::testing::FlushThread(*thread));
  EXPECT_EQ(destructions, 1);
}

TEST(RefCountedTest, ScopedRefptrConversionsKeepTheCountBalanced) {
  int destructions = 0;
  scoped_refptr<RefCountedCounter> first = base::MakeRefCounted<RefCountedCounter>(&destructions);
  EXPECT_TRUE(first->HasOneRef());
  scoped_refptr<RefCountedCounter> second = first;
  EXPECT_FALSE(first->HasOneRef());
  scoped_refptr<RefCountedCounter> third = std::move(second);
  EXPECT_EQ(second, nullptr);
  first.swap(second);
  EXPECT_EQ(first, nullptr);
  EXPECT_EQ(second, third);
  second = nullptr;
  EXPECT_TRUE(third->HasOneRef());
  EXPECT_EQ(destructions, 0);
  third.reset();
  EXPECT_EQ(destructions, 1);
}

}  // namespace

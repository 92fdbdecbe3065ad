// The owning pointer.

#include "frame/zxstd/var_a.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

namespace SatCommonUtils {
namespace {

struct Base {
  virtual ~Base() = default;
  int value = 1;
};

// Counts the living, and has a base at another address than its own.
struct Other {
  virtual ~Other() = default;
  int other = 2;
};
struct Derived : Other, Base {
  Derived() { ++living; }
  Derived(const Derived&) = delete;
  Derived& operator=(const Derived&) = delete;
  ~Derived() override { --living; }
  static int living;
};
int Derived::living = 0;

struct Throws {
  Throws() { throw std::runtime_error("no"); }
};

TEST(VarA, LastOwnerDeletes) {
  var_a<Derived*> first(new Derived);
  {
    const var_a<Derived*> second = first;
    EXPECT_EQ(first.use_count(), 2);
    EXPECT_EQ(second, first);
    first.reset();
    EXPECT_FALSE(first);
    EXPECT_EQ(Derived::living, 1);
  }
  EXPECT_EQ(Derived::living, 0);
  EXPECT_EQ(first.use_count(), 0);
  EXPECT_EQ(first.get(), nullptr);
  EXPECT_TRUE(first == nullptr);
}

TEST(VarA, ConvertsToBasesAndStillDeletesTheWhole) {
  var_a<Base*> base;
  {
    const var_a<Derived*> derived = make_var_a<Derived>();
    base = derived;
    EXPECT_EQ(base.get(), static_cast<Base*>(derived.get()));
    EXPECT_EQ(base->value, 1);
    const var_a<const Base*> read_only = base;
    EXPECT_EQ(read_only.use_count(), 3);
  }
  EXPECT_EQ(base.use_count(), 1);
  const var_a<Base*> moved = std::move(base);
  EXPECT_FALSE(base);  // NOLINT(bugprone-use-after-move): a moved-from pointer is empty, and that is tested
  EXPECT_EQ(moved.use_count(), 1);
}

TEST(VarA, DeleterOfTheFirstOwnerRunsOnce) {
  int deleted = 0;
  Derived object;
  {
    const var_a<Derived*> owner(&object, [&](Derived* pointer) {
      EXPECT_EQ(pointer, &object);
      ++deleted;
    });
    const var_a<Base*> base = owner;
    const var_a<Base*> copy = base;
  }
  EXPECT_EQ(deleted, 1);
}

TEST(VarA, SelfAssignmentAndSwapKeepTheObjects) {
  var_a<Derived*> a = make_var_a<Derived>();
  var_a<Derived*> b;
  const var_a<Derived*>& same = a;
  a = same;
  EXPECT_TRUE(a);
  a.swap(b);
  EXPECT_FALSE(a);
  EXPECT_EQ(Derived::living, 1);
  EXPECT_THROW(make_var_a<Throws>(), std::runtime_error);
}

TEST(VarA, ThreadsMayCopyAndRelease) {
  const var_a<Derived*> owner = make_var_a<Derived>();
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([copy = owner] {
      for (int k = 0; k < 10000; ++k) {
        const var_a<Derived*> one = copy;
        const var_a<Base*> two = one;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  threads.clear();
  EXPECT_EQ(owner.use_count(), 1);
}

}  // namespace
}  // namespace SatCommonUtils

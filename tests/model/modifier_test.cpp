#include "model/compositemodifier.h"

#include "host/hostlog.h"
#include "inprocesshost.h"
#include "jobsupport.h"
#include "model/database.h"
#include "modelsupport.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <sstream>

namespace {

class ModifierTest : public ::testing::Test {
protected:
  void SetUp() override { inProcessHost(); }
};

TEST_F(ModifierTest, DefaultModifierAndItsLogLines) {
  IPtr<Modifier> modifier(new Modifier);
  EXPECT_EQ(text(modifier->name()), "None");
  EXPECT_EQ(text(modifier->getString("name")), "None");
  modifier->set("name", "renamed");
  EXPECT_EQ(text(modifier->name()), "renamed");
  modifier->run();  // does nothing
  // Registered with the Database by the default flags.
  ASSERT_GE(modifier->id(), 0);
  EXPECT_EQ(Database::instance()->getModifier(modifier->id()),
            static_cast<IKivModifier*>(modifier.get()));

  std::string path = testing::TempDir() + "modifier_log_test.log";
  HostLog* log = inProcessHost().log();
  log->setLogFile(path.c_str());
  modifier->logRunning();
  modifier->logFinished();
  log->flush();
  log->setLogFile(nullptr);
  std::ifstream in(path);
  std::stringstream content;
  content << in.rdbuf();
  std::string id = std::to_string(modifier->id());
  EXPECT_NE(content.str().find("[Modifier] [id = " + id + "] Running"), std::string::npos);
  EXPECT_NE(content.str().find("[Modifier] [id = " + id + "] Finished"), std::string::npos);
  std::remove(path.c_str());

  int64_t id64 = modifier->id();
  modifier.clear();
  EXPECT_EQ(Database::instance()->getModifier(id64), nullptr);
}

TEST_F(ModifierTest, CompositeHoldsItsChildren) {
  IPtr<CompositeModifier> composite(new CompositeModifier);
  EXPECT_EQ(composite->add(nullptr, 1.0f), 0);
  EXPECT_EQ(composite->getInt("size"), 0);
  IPtr<Modifier> a(new Modifier), b(new Modifier);
  EXPECT_EQ(composite->add(a.get(), 1.0f), 1);
  EXPECT_EQ(composite->add(b.get(), 2.0f), 2);
  EXPECT_EQ(composite->getInt("size"), 2);
  EXPECT_EQ(a->refCount(), 2u);
  struct Case {
    int index;
    IKivModifier* expected;
  };
  const Case cases[] = {{-1, nullptr}, {0, a.get()}, {1, b.get()}, {2, nullptr}};
  for (const Case& c : cases)
    EXPECT_EQ(composite->modifier(c.index), c.expected) << c.index;
  PlatformException* failure = caught([&] { composite->set("size", 5); });
  ASSERT_NE(failure, nullptr);
  EXPECT_EQ(failure->code, 2);
  delete failure;
  composite->clear();
  EXPECT_EQ(composite->getInt("size"), 0);
  EXPECT_EQ(a->refCount(), 1u);
  composite->run();  // no children: opens and closes the division only
}

TEST_F(ModifierTest, CompositeDividesProgressByWeight) {
  IPtr<CompositeModifier> composite(new CompositeModifier);
  IPtr<ProgressInstance> progress(new ProgressInstance);
  kivQuery<ProgressProperty>(composite->getProperty("progress"), "ProgressProperty")
      ->set(static_cast<Progress*>(progress.get()));
  auto* host = kivQuery<HostProgressCallbackInstance>(progress->callback(),
                                                      "HostProgressCallbackInstance");
  ASSERT_NE(host, nullptr);

  std::vector<std::string> order;
  std::vector<float> seen;
  auto reporter = [&](const char* name) {
    return [&, name](ScriptedJob& job) {
      order.push_back(name);
      ASSERT_TRUE(job.useProgressProperty());
      job.reportFraction(0.5f);
      seen.push_back(host->fraction());
    };
  };
  IPtr<ScriptedJob> first(new ScriptedJob("first", reporter("first")));
  IPtr<ScriptedJob> second(new ScriptedJob("second", reporter("second")));
  IPtr<ScriptedJob> third(new ScriptedJob("third", [&](ScriptedJob& job) {
    order.push_back("third");
    job.useProgressProperty();
  }));
  composite->add(first.get(), 3.0f);
  composite->add(second.get(), 1.0f);
  composite->add(third.get(), 0.0f);  // ends the weight list: no segment of its own
  composite->run();
  EXPECT_EQ(order, (std::vector<std::string>{"first", "second", "third"}));
  ASSERT_EQ(seen.size(), 2u);
  EXPECT_FLOAT_EQ(seen[0], 0.375f);  // half of [0, 0.75]
  EXPECT_FLOAT_EQ(seen[1], 0.875f);  // half of [0.75, 1]
  // Every child was handed the composite's progress.
  EXPECT_EQ(third->progressObject(), static_cast<IProgress*>(static_cast<Progress*>(progress.get())));
}

TEST_F(ModifierTest, CancelledCompositeSkipsLaterChildren) {
  IPtr<CompositeModifier> composite(new CompositeModifier);
  IPtr<ProgressInstance> progress(new ProgressInstance);
  kivQuery<ProgressProperty>(composite->getProperty("progress"), "ProgressProperty")
      ->set(static_cast<Progress*>(progress.get()));
  std::vector<std::string> order;
  auto child = [&](const char* name, bool cancel) {
    return IPtr<ScriptedJob>(new ScriptedJob(name, [&, name, cancel](ScriptedJob& job) {
      order.push_back(name);
      if (cancel)
        job.progressObject()->cancel();
    }));
  };
  IPtr<ScriptedJob> a = child("a", false), b = child("b", true), c = child("c", false);
  composite->add(a.get(), 1.0f);
  composite->add(b.get(), 1.0f);
  composite->add(c.get(), 1.0f);
  composite->run();
  EXPECT_EQ(order, (std::vector<std::string>{"a", "b"}));
}

TEST_F(ModifierTest, ProgressPropertyFiresAndIsNeverStored) {
  IPtr<ProgressProperty> property(new ProgressProperty(KivString("progress"), false, true));
  EXPECT_STREQ(property->typeName(), "kivapi.datamodel.Progress");
  KivString shown;
  property->valueText(KivString("progress"), shown);
  EXPECT_EQ(text(shown), "Progress\n");

  IPtr<Progress> value(new Progress(false));
  property->set(value.get());
  std::vector<std::string> log;
  Recorder recorder(&log);
  ASSERT_TRUE(property->subscribe(KivCString::view("property_modified"), &recorder));
  IProgress* oldSeen = nullptr;
  IProgress* newSeen = nullptr;
  recorder.hook = [&](IKivDataEventSource*, IKivDataEventArgs* args) {
    auto* map = kivQuery<IKivPropertyMap>(args, "IKivPropertyMap");
    oldSeen = kivQuery<ProgressProperty>(map->getProperty("oldValue"), "ProgressProperty")->get();
    newSeen = kivQuery<ProgressProperty>(map->getProperty("newValue"), "ProgressProperty")->get();
  };
  property->set(value.get());  // the same object fires all the same
  EXPECT_EQ(log.size(), 1u);
  EXPECT_EQ(oldSeen, static_cast<IProgress*>(value.get()));
  EXPECT_EQ(newSeen, static_cast<IProgress*>(value.get()));
  property->unsubscribe(KivCString::view("property_modified"), &recorder);

  // A clone shares the value; reading a stored one leaves it empty.
  IPtr<IKivProperty> clone(property->clone());
  EXPECT_EQ(kivQuery<ProgressProperty>(clone.get(), "ProgressProperty")->get(),
            static_cast<IProgress*>(value.get()));
  EXPECT_TRUE(property->write(nullptr));
  EXPECT_TRUE(property->read(nullptr));
  EXPECT_EQ(property->get(), nullptr);
}

TEST_F(ModifierTest, ProgressConnectsOnlyWhereTheTableSays) {
  IPtr<ProgressInstance> untouched(new ProgressInstance);
  EXPECT_FALSE(untouched->isPaused());
  EXPECT_FALSE(untouched->isCancelled());
  untouched->pause();  // present only: nothing to pause
  EXPECT_FALSE(untouched->isPaused());
  untouched->resume();  // connecting: makes its own callback
  auto* own = untouched->callback();
  ASSERT_NE(own, nullptr);
  untouched->pause();
  EXPECT_TRUE(untouched->isPaused());
  untouched->cancel();
  EXPECT_TRUE(untouched->isCancelled());

  // Two instances get two callbacks; setCallback wins over the table.
  IPtr<ProgressInstance> other(new ProgressInstance);
  EXPECT_NE(other->callback(), own);
  other->setCallback(own);
  EXPECT_EQ(other->callback(), own);
}

} // namespace

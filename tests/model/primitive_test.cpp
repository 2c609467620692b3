#include "model/primitive.h"

#include "core/classtree.h"
#include "core/kivptr.h"
#include "model/dataeventsource.h"
#include "model/progress.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::string tree(IKivUnknown* object) {
  IterStack<KivClassEntry> entries;
  classTree(object, entries);
  std::string s;
  for (int32_t i = 1; i <= entries.count(); ++i)
    s += std::string(s.empty() ? "" : " ") + entries.at(i).name + "<" + entries.at(i).parent;
  return s;
}

// The implementation bases show up in the class tree and answer their own
// names, so that code can get from an interface back to them.
TEST(Primitive, BasesAnswerTheirNamesAndReportTheirTree) {
  IPtr<DataEventSource> source(new DataEventSource);
  // A class closes its level before it reports its interfaces, so an
  // interface's parent is the class above the one that adds it.
  EXPECT_EQ(tree(source.get()),
            "DataEventSource< Primitive<DataEventSource IKivPrimitive<DataEventSource "
            "IKivDataEventSource<");
  IKivUnknown* unknown = source.get();
  EXPECT_EQ(kivQuery<Primitive>(unknown, "Primitive"), static_cast<Primitive*>(source.get()));
  EXPECT_NE(kivQuery<void>(unknown, "IKivPrimitive"), nullptr);
  EXPECT_NE(kivQuery<void>(unknown, "IKivDataEventSource"), nullptr);
  EXPECT_EQ(kivQuery<void>(unknown, "primitive"), nullptr);

  // Progress puts Primitive first among its bases.
  IPtr<Progress> progress(new Progress(false));
  EXPECT_EQ(tree(progress.get()),
            "Progress< Primitive<Progress IKivPrimitive<Progress IProgress<");
  IKivUnknown* asUnknown = static_cast<IProgress*>(progress.get());
  EXPECT_EQ(kivQuery<Primitive>(asUnknown, "Primitive"), static_cast<Primitive*>(progress.get()));
  EXPECT_EQ(kivQuery<IProgress>(asUnknown, "IProgress"), static_cast<IProgress*>(progress.get()));
}

} // namespace

//===- ocafanchor.cpp - An OCAF document with integer and real labels -----===//
#include "anchors.h"

#include <TDF_Label.hxx>
#include <TDF_TagSource.hxx>
#include <TDataStd_Integer.hxx>
#include <TDataStd_Real.hxx>
#include <TDocStd_Application.hxx>
#include <TDocStd_Document.hxx>

#include <vector>

namespace {

// The integer block k gives label j; block -1 is the creation. No block
// repeats the creation value: an unchanged value records nothing, and an
// empty command would leave the creation on the undo stack.
int intValue(int k, int j) { return k < 0 ? j : (k + 1) * 16 + j; }

bool labelsHold(const std::vector<TDF_Label>& labels, int k, int sets) {
  for (int j = 0; j < sets; ++j) {
    Handle(TDataStd_Integer) i;
    Handle(TDataStd_Real) r;
    const TDF_Label& label = labels[static_cast<size_t>(j)];
    if (!label.FindAttribute(TDataStd_Integer::GetID(), i) ||
        !label.FindAttribute(TDataStd_Real::GetID(), r))
      return false;
    if (i->Get() != intValue(k, j) || r->Get() != j * 0.25)
      return false;
  }
  return true;
}

} // namespace

OcafAnchor runOcafAnchor(int labels, int commands, int sets) {
  OcafAnchor out;
  out.available = true;
  Handle(TDocStd_Application) app = new TDocStd_Application;
  Handle(TDocStd_Document) doc;
  app->NewDocument("BinOcaf", doc);
  doc->SetUndoLimit(commands);
  const TDF_Label root = doc->Main();
  std::vector<TDF_Label> made;
  made.reserve(static_cast<size_t>(labels));

  // In one command, as a document would be filled by one user action.
  doc->OpenCommand();
  out.createPerLabel = measurePerOp(labels, [&](int64_t j) {
    TDF_Label label = TDF_TagSource::NewChild(root);
    TDataStd_Integer::Set(label, static_cast<int>(j));
    TDataStd_Real::Set(label, static_cast<double>(j) * 0.25);
    made.push_back(label);
  });
  doc->CommitCommand();

  // Commands of `sets` changes: the integer of labels 0..sets-1, one set
  // each, like one set on each of `sets` objects of ours.
  out.commandPerBlock = measurePerOp(commands, [&](int64_t k) {
    doc->OpenCommand();
    for (int j = 0; j < sets; ++j)
      TDataStd_Integer::Set(made[static_cast<size_t>(j)], intValue(static_cast<int>(k), j));
    doc->CommitCommand();
  });
  bool ok = labelsHold(made, commands - 1, sets);
  out.undoPerBlock = measurePerOp(commands, [&](int64_t) { doc->Undo(); });
  ok = ok && labelsHold(made, -1, sets);
  out.redoPerBlock = measurePerOp(commands, [&](int64_t) { doc->Redo(); });
  ok = ok && labelsHold(made, commands - 1, sets);
  out.valuesChecked = ok;

  made.clear();
  out.closePerLabel = measurePerOp(1, [&](int64_t) {
    app->Close(doc);
    doc.Nullify();
  });
  out.closePerLabel.ns /= labels;
  out.closePerLabel.allocs /= labels;
  return out;
}

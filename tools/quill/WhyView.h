#pragma once
// What `why` prints: the library's explanation of one (FEC, peer) pair or of one local label, in
// one of three forms.
//
// - text: a title line saying whether the branch is present, one row per condition in pipeline
//   order (whether it holds and what was found), then, for an absent branch, the first condition
//   that fails ("missing:") and the input that would satisfy it ("needs:");
// - json: one line, an object like the tables' ("table" is "why" or "why-label"), values typed
//   as ValueJson.h writes them; docs/show-json.schema.json gives the shape;
// - dot: a Graphviz digraph of the replication (`LfibDot.h`), with what is missing dashed.
//
//   QuillTool::printWhy(agent, fec, peer, WhyForm::text, std::cout);
//   // why p2mp/1.1.1.1/0100040000002a 2.2.2.2:0: branch present
//   // CONDITION          HOLDS  FOUND
//   // local label        yes    100
//   // ...
#include <ostream>

#include "quill/why/BranchExplanation.h"
#include "sim/Agent.h"

namespace QuillTool {

enum class WhyForm { text, json, dot };

void printWhy(const Sim::Agent& agent, const Mpls::FwdEqvClass& fec, const Mpls::RouterId& peer,
              WhyForm form, std::ostream& out);
void printWhyLabel(const Sim::Agent& agent, Vela::MplsLabel label, WhyForm form, std::ostream& out);

}  // namespace QuillTool

#pragma once
// What a stage's audit rule works with: the report the whole audit fills, and an auditor that
// compares what the rule yields with what the stage holds, naming the stage in each difference.
//
// A rule recomputes the stage's output from the live collections the stage reads, with a plain,
// non-incremental implementation, and hands both sides to `compare` as sets of tuples; it reads
// its inputs as they are, so a difference is reported at the stage that made it, not at every
// stage downstream.
//
//   void auditInversion(Quill::StageAuditor& auditor, const Mpls::P2mpLfibGenSmManager& manager) {
//     std::set<std::tuple<Vela::IpGenAddr, Mpls::RouterId>> expected, actual;
//     ...
//     auditor.compare(expected, actual);   // "stage 1 (inversion): missing 10.0.0.2 2.2.2.2:0"
//   }
#include <cstddef>
#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace Quill {

struct AuditReport {
  // One line per difference: "<stage>: missing <element>", "<stage>: unexpected <element>", or a
  // stage-specific complaint. Sorted within each stage; stages in pipeline order.
  std::vector<std::string> differences;
  // Elements compared, over all stages.
  std::size_t elementsChecked = 0;

  bool ok() const { return differences.empty(); }
  // "audit: ok", or the differences, one per line.
  std::string text() const;
};

template <class T>
std::string textOf(const T& value) {
  return value.valueToStrep();
}

class StageAuditor {
 public:
  StageAuditor(AuditReport& report, std::string stage)
      : report_(report), stage_(std::move(stage)) {}

  // Reports every element of one side missing from the other. `aspect`, when given, follows the
  // stage's name ("stage 5 (interface-address filter) vias: ...").
  template <class Element>
  void compare(const std::set<Element>& expected, const std::set<Element>& actual,
               const std::string& aspect = "") {
    report_.elementsChecked += expected.size() + actual.size();
    for (const Element& element : expected) {
      if (!actual.contains(element)) complain("missing " + elementText(element), aspect);
    }
    for (const Element& element : actual) {
      if (!expected.contains(element)) complain("unexpected " + elementText(element), aspect);
    }
  }
  void complain(const std::string& what, const std::string& aspect = "") {
    report_.differences.push_back(stage_ + (aspect.empty() ? "" : " " + aspect) + ": " + what);
  }

 private:
  // Blank-separated text forms of a tuple's fields.
  template <class Tuple>
  static std::string elementText(const Tuple& element) {
    std::string text;
    std::apply(
        [&](const auto&... field) { ((text += (text.empty() ? "" : " ") + textOf(field)), ...); },
        element);
    return text;
  }

  AuditReport& report_;
  std::string stage_;
};

}  // namespace Quill

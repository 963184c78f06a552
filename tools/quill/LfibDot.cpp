#include "tools/quill/LfibDot.h"

#include "tools/quill/TextForm.h"

namespace QuillTool {

namespace {

// A Graphviz double-quoted string.
std::string quoted(std::string_view text) {
  std::string out = "\"";
  for (const char c : text) {
    if (c == '\n') {
      out += "\\n";  // a line break inside the label
      continue;
    }
    if (c == '"' || c == '\\') out += '\\';
    out += c;
  }
  return out + '"';
}

constexpr uint32_t kNoLabel = Vela::MplsLabel::kOutOfRange;

std::string fecNode(uint32_t label, const Mpls::FwdEqvClass& fec) {
  return quoted(std::to_string(label) + " " + textOf(fec));
}

std::string peerNode(const Mpls::RouterId& peer) {
  return quoted("peer " + textOf(peer));
}

}  // namespace

void LfibDot::lfibIs(const Mpls::LabelForwardingInfoColl& lfib) {
  for (const auto [label, entry] : lfib.labelForwardingColl()) {
    for (const auto [branch, info] : entry.forwardingInfoColl()) {
      for (const Mpls::FecRouter& pair : info.fecRouterColl())
        branchIs(label, pair.fwdEqvClass(), pair.routerId(), branch.via(), branch.label());
    }
  }
}

void LfibDot::branchIs(Vela::MplsLabel label, const Mpls::FwdEqvClass& fec,
                       const Mpls::RouterId& peer, const Mpls::FibVia& via,
                       Vela::MplsLabel outLabel) {
  clusters_[label.value()].insert(fec);
  peers_.insert(peer);
  const std::string text =
      textOf(via.hop()) + "\n" + textOf(via.intfId()) + "\nout " + textOf(outLabel);
  edges_[{label.value(), fec, peer, text}] = "label=" + quoted(text);
}

void LfibDot::missingIs(const Vela::MplsLabel* label, const Mpls::FwdEqvClass& fec,
                        const Mpls::RouterId& peer, const std::string& needs) {
  const uint32_t key = label ? label->value() : kNoLabel;
  clusters_[key].insert(fec);
  peers_.insert(peer);
  edges_[{key, fec, peer, "~" + needs}] =
      "style=dashed, color=red, fontcolor=red, label=" + quoted("needs " + needs);
}

void LfibDot::print(std::ostream& out) const {
  out << "digraph lfib {\n"
      << "  rankdir=LR;\n"
      << "  node [fontname=\"Helvetica\", fontsize=11];\n"
      << "  edge [fontname=\"Helvetica\", fontsize=9];\n";
  for (const auto& [label, fecs] : clusters_) {
    out << "  subgraph " << quoted("cluster " + std::to_string(label)) << " {\n"
        << "    label="
        << quoted(label == kNoLabel ? "no local label" : "local label " + std::to_string(label))
        << ";\n";
    for (const Mpls::FwdEqvClass& fec : fecs)
      out << "    " << fecNode(label, fec) << " [shape=note, label=" << quoted(textOf(fec))
          << "];\n";
    out << "  }\n";
  }
  for (const Mpls::RouterId& peer : peers_)
    out << "  " << peerNode(peer) << " [shape=box, style=rounded, label=" << quoted(textOf(peer))
        << "];\n";
  for (const auto& [key, attributes] : edges_) {
    const auto& [label, fec, peer, text] = key;
    out << "  " << fecNode(label, fec) << " -> " << peerNode(peer) << " [" << attributes << "];\n";
  }
  out << "}\n";
}

}  // namespace QuillTool

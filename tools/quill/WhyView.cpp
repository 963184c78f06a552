#include "tools/quill/WhyView.h"

#include <cstdio>

#include "tools/quill/JsonWriter.h"
#include "tools/quill/LfibDot.h"
#include "tools/quill/TextForm.h"
#include "tools/quill/TextTable.h"
#include "tools/quill/ValueJson.h"

namespace QuillTool {

namespace {

using Quill::BranchExplanation;

constexpr std::string_view kNone = "-";

std::string viaText(const Mpls::FibVia& via) {
  return textOf(via.hop()) + " " + textOf(via.intfId());
}

template <class T, class Text>
std::string joined(const std::vector<T>& values, Text text, std::string_view separator = ",") {
  std::string out;
  for (const T& value : values) {
    if (!out.empty()) out += separator;
    out += text(value);
  }
  return out.empty() ? std::string(kNone) : out;
}

template <class T>
std::string joined(const std::vector<T>& values) {
  return joined(values, [](const T& value) { return textOf(value); });
}

std::string hex(uint64_t value) {
  char text[19];
  std::snprintf(text, sizeof text, "0x%llx", static_cast<unsigned long long>(value));
  return text;
}

std::string bindingText(const BranchExplanation& why) {
  if (why.peerBinding) return "bound" + std::string(why.fecFiltered ? ", filtered" : "");
  if (!why.peerTable) return "no label binding table";
  return why.fecFiltered ? "filtered, no binding" : "no binding";
}

std::string resolutionText(const BranchExplanation& why) {
  return joined(
      why.transportAddresses,
      [](const Quill::ResolvedAddress& resolved) {
        return textOf(resolved.address) + " " +
               (resolved.vias.empty() ? std::string("unresolved")
                                      : "via " + joined(resolved.vias, viaText, " via "));
      },
      "; ");
}

std::string choiceText(const BranchExplanation& why) {
  if (!why.chosenVia) return std::string(kNone);
  std::string text = viaText(*why.chosenVia);
  if (!why.chosenDirectBy.empty()) text += ", direct by " + joined(why.chosenDirectBy);
  const auto from = why.addressesResolvingTo(*why.chosenVia);
  if (!from.empty()) text += ", from " + joined(from);
  if (why.ring) {
    // The FEC goes to the first member at or after its key: the members' positions say why.
    text += "; ring: " +
            joined(
                why.ring->members,
                [](const Quill::RingChoice::Member& member) {
                  return viaText(member.via) + " at " + hex(member.position);
                },
                ", ") +
            "; FEC key " + hex(why.ring->key) + " lands on " + hex(why.ring->owner);
  }
  return text;
}

std::string branchesText(const BranchExplanation& why) {
  return joined(
      why.branches,
      [](const Quill::LfibBranch& branch) {
        return textOf(branch.localLabel) + " -> " + viaText(branch.via) + " out " +
               textOf(branch.peerLabel);
      },
      "; ");
}

void printText(const BranchExplanation& why, std::ostream& out) {
  out << "why " << textOf(why.fec) << ' ' << textOf(why.peer) << ": "
      << (why.present() ? "branch present" : "no branch")
      << (why.stale() ? " (kept by a stage until its next initialization: " +
                            why.reasonFor(why.failing) + ")"
                      : "")
      << '\n';
  TextTable table({"CONDITION", "HOLDS", "FOUND"});
  const auto row = [&](std::string_view condition, bool holds, std::string found) {
    table.rowIs({std::string(condition), holds ? "yes" : "no", std::move(found)});
  };
  row("local label", !why.localLabels.empty(), joined(why.localLabels));
  row("peer binding", why.peerBinding, bindingText(why));
  std::vector<Vela::IpGenAddr> addresses;
  for (const auto& resolved : why.transportAddresses)
    addresses.push_back(resolved.address);
  row("transport address", !addresses.empty(), joined(addresses));
  row("resolution", !why.vias.empty(), resolutionText(why));
  row("mpls interface", !why.mplsVias.empty(), joined(why.mplsVias, viaText));
  row("direct to peer", !why.directVias.empty(),
      why.directVias.empty() && !why.mplsVias.empty()
          ? "peer interface addresses: " + joined(why.peerInterfaceAddresses)
          : joined(why.directVias, viaText));
  row("chosen via", why.chosenVia.has_value(), choiceText(why));
  row("peer label", !why.peerLabels.empty(), joined(why.peerLabels));
  row("lfib branch", why.present(), branchesText(why));
  table.print(out);
  if (!why.present()) {
    out << "missing: " << why.reason() << '\n';
    out << "needs: " << why.remedy() << '\n';
  }
  out << '\n';
}

// A member holding an array of values, each in its JSON form.
template <class Values, class Write>
void jsonArray(JsonWriter& json, std::string_view name, const Values& values, Write write) {
  json.key(name);
  json.beginArray();
  for (const auto& value : values)
    write(json, value);
  json.endArray();
}

// The members of one explanation, in pipeline order.
void jsonExplanation(JsonWriter& json, const BranchExplanation& why) {
  json.key("fec");
  writeFec(json, why.fec);
  json.key("peer");
  writePeer(json, why.peer);
  json.key("present");
  json.boolean(why.present());
  json.key("missing");
  json.string(Quill::whyMissingName(why.missing));
  json.key("failing");
  json.string(Quill::whyMissingName(why.failing));
  json.key("reason");
  json.string(why.reason());
  json.key("needs");
  json.string(why.remedy());
  jsonArray(json, "local-labels", why.localLabels, writeLabel);
  json.key("peer-binding");
  json.boolean(why.peerBinding);
  json.key("fec-filtered");
  json.boolean(why.fecFiltered);
  json.key("transport-addresses");
  json.beginArray();
  for (const auto& resolved : why.transportAddresses) {
    json.beginObject();
    json.key("address");
    writeAddress(json, resolved.address);
    jsonArray(json, "next-hops", resolved.vias, writeVia);
    json.endObject();
  }
  json.endArray();
  jsonArray(json, "mpls-next-hops", why.mplsVias, writeVia);
  jsonArray(json, "peer-interface-addresses", why.peerInterfaceAddresses, writeAddress);
  jsonArray(json, "direct-next-hops", why.directVias, writeVia);
  json.key("chosen");
  if (why.chosenVia) {
    json.beginObject();
    writeViaMembers(json, *why.chosenVia);
    jsonArray(json, "direct-by", why.chosenDirectBy, writeAddress);
    jsonArray(json, "resolved-from", why.addressesResolvingTo(*why.chosenVia), writeAddress);
    json.endObject();
  } else {
    json.null();
  }
  json.key("ring");
  if (why.ring) {
    json.beginObject();
    json.key("fec-key");
    json.string(hex(why.ring->key));
    json.key("owner");
    json.string(hex(why.ring->owner));
    json.key("members");
    json.beginArray();
    for (const auto& member : why.ring->members) {
      json.beginObject();
      writeViaMembers(json, member.via);
      json.key("position");
      json.string(hex(member.position));
      json.endObject();
    }
    json.endArray();
    json.endObject();
  } else {
    json.null();
  }
  jsonArray(json, "peer-labels", why.peerLabels, writeLabel);
  json.key("branches");
  json.beginArray();
  for (const auto& branch : why.branches) {
    json.beginObject();
    json.key("local-label");
    writeLabel(json, branch.localLabel);
    writeViaMembers(json, branch.via);
    json.key("out-label");
    writeLabel(json, branch.peerLabel);
    json.endObject();
  }
  json.endArray();
}

// The pair's branches, or a dashed edge under each local label (none: "no local label").
void dotExplanation(LfibDot& dot, const BranchExplanation& why) {
  for (const auto& branch : why.branches)
    dot.branchIs(branch.localLabel, why.fec, why.peer, branch.via, branch.peerLabel);
  if (why.present()) return;
  if (why.localLabels.empty()) dot.missingIs(nullptr, why.fec, why.peer, why.remedy());
  for (const Vela::MplsLabel& label : why.localLabels)
    dot.missingIs(&label, why.fec, why.peer, why.remedy());
}

}  // namespace

void printWhy(const Sim::Agent& agent, const Mpls::FwdEqvClass& fec, const Mpls::RouterId& peer,
              WhyForm form, std::ostream& out) {
  const BranchExplanation why = Quill::explainBranch(*agent.manager(), fec, peer);
  switch (form) {
    case WhyForm::text:
      printText(why, out);
      return;
    case WhyForm::json: {
      JsonWriter json;
      json.beginObject();
      json.key("table");
      json.string("why");
      jsonExplanation(json, why);
      json.endObject();
      out << json.text() << '\n';
      return;
    }
    case WhyForm::dot: {
      LfibDot dot;
      dotExplanation(dot, why);
      dot.print(out);
      return;
    }
  }
}

void printWhyLabel(const Sim::Agent& agent, Vela::MplsLabel label, WhyForm form,
                   std::ostream& out) {
  const Quill::LabelExplanation why = Quill::explainLabel(*agent.manager(), label);
  switch (form) {
    case WhyForm::text: {
      if (why.branches.empty()) {
        // Finding the FECs bound to a label would take a scan of the local table; a pair can be
        // asked about directly.
        out << "why label " << textOf(label)
            << ": not in the LFIB; ask about a FEC and a peer with: why FEC PEER\n\n";
        return;
      }
      std::size_t pairs = 0;
      for (const auto& branch : why.branches)
        pairs += branch.justifications.size();
      out << "why label " << textOf(label) << ": " << why.branches.size()
          << (why.branches.size() == 1 ? " branch" : " branches") << ", " << pairs
          << (pairs == 1 ? " justification" : " justifications") << ", " << why.absent.size()
          << (why.absent.size() == 1 ? " peer" : " peers") << " without a branch\n\n";
      for (const auto& branch : why.branches) {
        for (const auto& justification : branch.justifications)
          printText(justification, out);
      }
      for (const auto& absent : why.absent)
        printText(absent, out);
      return;
    }
    case WhyForm::json: {
      JsonWriter json;
      json.beginObject();
      json.key("table");
      json.string("why-label");
      json.key("local-label");
      writeLabel(json, label);
      json.key("branches");
      json.beginArray();
      for (const auto& branch : why.branches) {
        json.beginObject();
        writeViaMembers(json, branch.via);
        json.key("out-label");
        writeLabel(json, branch.peerLabel);
        json.key("justifications");
        json.beginArray();
        for (const auto& justification : branch.justifications) {
          json.beginObject();
          jsonExplanation(json, justification);
          json.endObject();
        }
        json.endArray();
        json.endObject();
      }
      json.endArray();
      json.key("absent");
      json.beginArray();
      for (const auto& absent : why.absent) {
        json.beginObject();
        jsonExplanation(json, absent);
        json.endObject();
      }
      json.endArray();
      json.endObject();
      out << json.text() << '\n';
      return;
    }
    case WhyForm::dot: {
      LfibDot dot;
      for (const auto& branch : why.branches) {
        for (const auto& justification : branch.justifications)
          dot.branchIs(label, justification.fec, justification.peer, branch.via, branch.peerLabel);
      }
      for (const auto& absent : why.absent)
        dot.missingIs(&label, absent.fec, absent.peer, absent.remedy());
      dot.print(out);
      return;
    }
  }
}

}  // namespace QuillTool

#include "tools/quill/ValueJson.h"

#include "tools/quill/TextForm.h"

namespace QuillTool {

void writeLabel(JsonWriter& json, Vela::MplsLabel label) {
  json.number(label.value());
}

void writeAnnouncedLabel(JsonWriter& json, Vela::MplsLabel label) {
  if (label.value() == Vela::MplsLabel::kOutOfRange) {
    json.null();
  } else {
    writeLabel(json, label);
  }
}

void writeAddress(JsonWriter& json, const Vela::IpGenAddr& address) {
  json.string(textOf(address));
}

void writeInterface(JsonWriter& json, Vela::IntfId intf) {
  const std::string name = textOf(intf);
  if (name.empty()) {
    json.null();
  } else {
    json.string(name);
  }
}

void writePeer(JsonWriter& json, const Mpls::RouterId& peer) {
  json.beginObject();
  json.key("lsr-id");
  json.string(textOf(Vela::IpAddr(peer.rtrIdValue())));
  json.key("label-space-id");
  json.number(peer.lblSpaceValue());
  json.endObject();
}

void writeFec(JsonWriter& json, const Mpls::FwdEqvClass& fec) {
  json.beginObject();
  json.key("root-address");
  writeAddress(json, fec.root());
  json.key("opaque-value");
  json.string(hexOf(fec.opaque()));
  json.endObject();
}

void writeViaMembers(JsonWriter& json, const Mpls::FibVia& via) {
  json.key("next-hop");
  writeAddress(json, via.hop());
  json.key("interface");
  writeInterface(json, via.intfId());
}

void writeVia(JsonWriter& json, const Mpls::FibVia& via) {
  json.beginObject();
  writeViaMembers(json, via);
  json.endObject();
}

std::string hexOf(std::string_view bytes) {
  static constexpr char kHex[] = "0123456789abcdef";
  std::string out;
  out.reserve(2 * bytes.size());
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    out += kHex[byte >> 4];
    out += kHex[byte & 0xf];
  }
  return out;
}

}  // namespace QuillTool

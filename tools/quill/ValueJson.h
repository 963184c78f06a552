#pragma once
// The JSON form of each value type the tables hold, so that a script reads fields rather than
// parsing text forms again:
//
//   label      a number, 0 to 1048575
//   address    a string, "10.0.12.2" or "2001:db8::2"
//   interface  a string, "Ethernet1"; null for the empty identifier
//   peer       {"lsr-id": "2.2.2.2", "label-space-id": 0}
//   FEC        {"root-address": "1.1.1.1", "opaque-value": "0100040000002a"}, the opaque value
//              as lower-case hex ("" for the default FEC)
//   via        "next-hop" and "interface" members, inline in the object that holds the via
//
// Member names follow the IETF LDP and mLDP YANG models where those have the same leaf.
//
//   QuillTool::JsonWriter json;
//   QuillTool::writePeer(json, Mpls::RouterId(0x02020202, 0));
//   json.text();   // {"lsr-id":"2.2.2.2","label-space-id":0}
#include <string>
#include <string_view>

#include "platform/mpls/FibVia.h"
#include "platform/mpls/FwdEqvClass.h"
#include "platform/mpls/RouterId.h"
#include "platform/vela/IntfId.h"
#include "platform/vela/IpAddr.h"
#include "platform/vela/MplsLabel.h"
#include "tools/quill/JsonWriter.h"

namespace QuillTool {

void writeLabel(JsonWriter& json, Vela::MplsLabel label);
// The label a notification channel last announced: a number, or null for the out-of-range label
// that announces "no usable label".
void writeAnnouncedLabel(JsonWriter& json, Vela::MplsLabel label);
void writeAddress(JsonWriter& json, const Vela::IpGenAddr& address);
void writeInterface(JsonWriter& json, Vela::IntfId intf);
void writePeer(JsonWriter& json, const Mpls::RouterId& peer);
void writeFec(JsonWriter& json, const Mpls::FwdEqvClass& fec);
// Precondition: directly inside an object, at a member boundary.
void writeViaMembers(JsonWriter& json, const Mpls::FibVia& via);
void writeVia(JsonWriter& json, const Mpls::FibVia& via);

// `bytes` as lower-case hex, two digits a byte.
std::string hexOf(std::string_view bytes);

}  // namespace QuillTool

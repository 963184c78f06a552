#include "platform/rapidlog/Twinlog.h"

#include "platform/rapidlog/Rapidlog.h"
#include "platform/vox/Exception.h"

namespace Twinlog {

RapidlogConverter::RapidlogConverter(std::string_view handle, int level)
    : handle_(handle), level_(level), active_(Rapidlog::enabled()) {
  VOX_ASSERT(level >= 0 && level <= 9, "Twinlog level in 0..9");
}

RapidlogConverter::~RapidlogConverter() {
  flush();
}

void RapidlogConverter::flush() {
  if (text_.empty()) return;
  Rapidlog::writeText(handle_, level_, text_);
  text_.clear();
}

}  // namespace Twinlog

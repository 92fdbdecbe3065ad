// What the exception holds: one text, shared by its copies so that copying cannot throw.

#include "frame/zxstd/message.h"

#include <utility>

namespace SatCommonUtils {

TZxMessage::TZxMessage(const char* text) : TZxMessage(std::string(text == nullptr ? "" : text)) {}

TZxMessage::TZxMessage(std::string text) : text_(std::make_shared<const std::string>(std::move(text))) {}

TZxMessage::~TZxMessage() = default;

const char* TZxMessage::what() const noexcept { return text_->c_str(); }

const std::string& TZxMessage::GetText() const noexcept { return *text_; }

}  // namespace SatCommonUtils

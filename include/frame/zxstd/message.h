#pragma once
/// \file
/// The exception that the library throws for everything that is not a checked index or a bare text.

#include <exception>
#include <memory>
#include <string>

#include "../api.h"

namespace SatCommonUtils {

/// An error with a text for people. Copying never throws, so it is safe to rethrow and to store.
class ORBMATH_API TZxMessage : public std::exception {
 public:
  /// \param text the message; a null pointer counts as an empty text.
  explicit TZxMessage(const char* text);
  /// \param text the message.
  explicit TZxMessage(std::string text);
  /// Copying leaves the source as it is; there is no moving, so a message never loses its text.
  TZxMessage(const TZxMessage&) noexcept = default;
  TZxMessage& operator=(const TZxMessage&) noexcept = default;
  ~TZxMessage() override;

  /// The message, valid as long as any copy of this exception lives.
  const char* what() const noexcept override;
  /// The message as a string.
  const std::string& GetText() const noexcept;

 private:
  std::shared_ptr<const std::string> text_;
};

}  // namespace SatCommonUtils

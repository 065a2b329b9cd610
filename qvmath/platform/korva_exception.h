// SPDX-License-Identifier: MIT
// The system library's exception types: a message-carrying exception and the exception
// that signals cancellation by the user.
#pragma once

#include <qvmath/platform/export.h>

#include <exception>
#include <string>

/// An exception carrying an English message text, returned by `what()`.
/// Streams, files and the framework pieces throw it (or classes derived from it).
/// Copying copies the message; a default-constructed one has an empty message.
class QVMATH_API CKorvaException : public std::exception {
 public:
  CKorvaException() = default;
  /// @param[in] message the text `what()` returns; copied.
  explicit CKorvaException(const char* message) : m_message(message ? message : "") {}
  explicit CKorvaException(std::string message) : m_message(std::move(message)) {}
  ~CKorvaException() override;
  /// @return the message given at construction ("" when none).
  const char* what() const noexcept override { return m_message.c_str(); }

 private:
  std::string m_message;
};

/// Cancellation requested by the user, typically through a progress callback that
/// returned non-zero. Default-constructible and carries no text of its own.
class QVMATH_API CUserIntrException : public std::exception {
 public:
  CUserIntrException() = default;
  ~CUserIntrException() override;
  /// @return "User interrupt".
  const char* what() const noexcept override;
};

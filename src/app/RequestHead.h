// The head of an HTTP request as the workshop's gate sees it before any handler runs: where the
// head ends in the bytes received so far, and whether it carries the workshop's secret. Pure
// functions over text, so the gate's decisions are testable without sockets.
#pragma once

#include <cstddef>
#include <string_view>

namespace pw::app {

// The name of the cookie that carries the secret, and of the header the page sends it in.
inline constexpr std::string_view kSecretCookie = "pw_secret";
inline constexpr std::string_view kSecretHeader = "X-Pagewright-Secret";

// Where the head at the start of `bytes` ends (just past its blank line; "\r\n" and bare "\n"
// line ends alike), or npos while the blank line has not arrived.
size_t RequestHeadEnd(std::string_view bytes);

// Whether `given` is exactly `secret`. The time taken does not depend on where they differ.
bool SameSecret(std::string_view given, std::string_view secret);

// Whether a Cookie header value holds a cookie named `name` whose value is exactly `secret`.
bool CookieCarriesSecret(std::string_view cookies, std::string_view name, std::string_view secret);

// Whether a complete request head carries `secret`: in the secret header, in the secret cookie,
// or, for the page itself ("/"), as the query parameter "s". Every comparison is exact.
bool HeadCarriesSecret(std::string_view head, std::string_view secret);

}  // namespace pw::app

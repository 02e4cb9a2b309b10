#pragma once

#include <array>

/// The names of what the secure store holds of who is signed in.
namespace fenlo::accountItem {

inline constexpr char accessToken[] = "google_access_token";
/// Also Apple's: the rest of the program knows one signed-in user, and a user is signed in while it is there.
inline constexpr char refreshToken[] = "google_refresh_token";
inline constexpr char tokenExpiry[] = "google_token_expiry";
inline constexpr char userEmail[] = "google_user_email";
inline constexpr char userName[] = "google_user_name";
inline constexpr char provider[] = "auth_provider"; // "apple", or not there

/// What the refresh token of a sign-in with Apple begins with; the rest is its session's id.
inline constexpr char applePrefix[] = "apple_";
inline constexpr char apple[] = "apple";

/// What a sign-out forgets. The provider goes too: the next to sign in may use another.
inline constexpr std::array all{accessToken, refreshToken, tokenExpiry, userEmail, userName, provider};

} // namespace fenlo::accountItem

#pragma once

/// What the first start leaves behind: empty files among the program's data.
///
/// Threads: any.
namespace fenlo::OnboardingMarks {

/// `~/.fenlo/.onboarded`: the first start is done.
bool isOnboarded();
/// False when the file cannot be written, so that the next start begins again.
bool setOnboarded();

/// `~/.fenlo/.without_account`: the user chose to go on without signing in, and is not asked at each start.
bool isWithoutAccount();
bool setWithoutAccount(bool isWithout);

} // namespace fenlo::OnboardingMarks

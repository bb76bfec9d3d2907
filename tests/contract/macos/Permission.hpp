#pragma once

#include <string>

namespace tallyfox::contract {

/// What the owner of a Mac has to allow a program.
enum class Permission { accessibility, screenRecording };

[[nodiscard]] bool isGranted(Permission permission);

/// To be called in the constructor of a test's backend: without the permission the test's body does not run, and the
/// test is skipped with a sentence that says why. Where the environment has TALLYFOX_REQUIRE_PERMISSIONS set, as on a
/// machine that is known to give them, it fails instead.
void skipWithout(Permission permission);

/// One sentence for each permission that tests were skipped for, with their number, and how to give it; empty when
/// there were none.
[[nodiscard]] std::string permissionReport();

}  // namespace tallyfox::contract

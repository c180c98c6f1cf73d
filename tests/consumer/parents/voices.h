// What the two shared libraries export.
#pragma once

#include "kr_string.h"

#define VOICES_API __attribute__((visibility("default")))

VOICES_API Quorvane::CString Shout(const Quorvane::CString &text);
VOICES_API Quorvane::CString Whisper(const Quorvane::CString &text);

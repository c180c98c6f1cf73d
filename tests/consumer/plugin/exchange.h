// What a host and its plugin exchange. Every function takes pointers, so that it needs no C++ linkage.
#pragma once

// Seen from outside also where everything else is hidden.
#if !defined(EXPORTED)
#define EXPORTED
#endif

#if defined(__cplusplus)
extern "C"
{
#endif

    // Makes strings of many lengths, shares, grows and drops them. Returns 0 when all is as it should be.
    EXPORTED int UseStrings(void);

    // `string` is a CString: appends its own text and more to it, so that it moves.
    EXPORTED void GrowString(void *string);
    // Makes `string`, a CString of the caller, a string of that length of this side.
    EXPORTED void MakeString(void *string, unsigned length);
    // Drops what `string` holds.
    EXPORTED void DropString(void *string);
    // Splits `string` at blanks into `pieces`, a TArray<CString> of the caller, which grows here.
    EXPORTED void SplitString(const void *string, void *pieces);

#if defined(__cplusplus)
}
#endif

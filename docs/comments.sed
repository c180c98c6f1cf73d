# Makes documentation of plain comments, for Doxygen: what stands above a declaration, and what stands behind one.
# Backslashes in comments are text, not commands.
# Rulers over groups of declarations are for readers of the header.
/^[[:space:]]*\/\/ ----/b
/^[[:space:]]*\/\//{
    s,\\,\\\\,g
    s,^\([[:space:]]*\)//\([[:space:]]\),\1///\2,
    s,^\([[:space:]]*\)//$,\1///,
    b
}
s,\([\,;]\)[[:space:]]*// ,\1 ///< ,

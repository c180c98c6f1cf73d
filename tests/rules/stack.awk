# Reads the call graphs that g++ writes with -fcallgraph-info=su, and adds up what the deepest way from each function takes.
# For stack.sh.

function field(name,    rest)
{
    rest = $0
    if (!sub(".*" name ": \"", "", rest))
        return ""
    sub("\".*", "", rest)
    return rest
}

# The deepest way from a function, itself included; `next_of` says where it goes on.
function depth_of(node,    count, list, i, callee, deepest, depth)
{
    if (node in depth_known)
        return depth_known[node]
    if (is_open[node])
    {
        print "breach: " place_of[node] ": recursion: " name_of(node)
        return 0
    }
    is_open[node] = 1
    deepest = 0
    count = split(callees[node], list, "\t")
    for (i = 1; i <= count; ++i)
    {
        callee = list[i]
        if (callee == "")
            continue
        depth = depth_of(callee)
        if (depth > deepest)
        {
            deepest = depth
            next_of[node] = callee
        }
    }
    is_open[node] = 0
    depth_known[node] = bytes[node] + deepest
    return depth_known[node]
}

function name_of(node)
{
    return (node in names) ? names[node] : node
}

function is_report(name)
{
    return name ~ /ReportSite|ReportVerify|EvalAssert/
}

function bound_of(name)
{
    if (name ~ /CString::FuzzyMatchList|Internal::Fuzzy::/)
        return 8192
    if (name ~ /CString(View)?::FuzzyMatch\(/)
        return 12288
    if (is_report(name))
        return 2048
    # CString::Format, whose buffer is 3,200 bytes of it. What the frames of an allocation that is the process' first add
    # differs from one way of compiling to the other.
    if (name ~ /CString6FormatEPKcz/)
        return 4352
    return 4096
}

# Leads an indirect call to the functions that are called by default. One of which nothing is known is a breach.
function connect_hook(source,    caller, node, found)
{
    for (caller in default_of)
        if (source ~ caller)
            for (node in names)
                if (names[node] ~ default_of[caller] "\\(")
                {
                    callees["hook:" source] = callees["hook:" source] "\t" node
                    found = 1
                }
    if (!found)
        print "breach: an indirect call to nobody knows where: " name_of(source)
}

/^node: / {
    title = field("title")
    label = field("label")
    # A function's own line has its bytes; one that is only called has none.
    if (match(label, /[0-9]+ bytes \(/))
    {
        size = substr(label, RSTART, RLENGTH) + 0
        if (size > bytes[title])
            bytes[title] = size
        place_of[title] = label
        sub(/^[^\\]*\\n/, "", place_of[title])
        sub(/\\n.*/, "", place_of[title])
        if (index(place_of[title], root "/") == 1)
            place_of[title] = substr(place_of[title], length(root) + 2)
        names[title] = label
        sub(/\\n.*/, "", names[title])
        # Of functions with any number of arguments, g++ writes the end alone.
        if (length(names[title]) < 3)
            names[title] = title
        if (label !~ /bytes \((static|dynamic,bounded)\)/)
            print "breach: " place_of[title] ": a frame without a bound: " names[title]
    }
}

/^edge: / {
    source = field("sourcename")
    target = field("targetname")
    # Where all reserves for messages are taken: see kr_assert/assert.cpp.
    if (target ~ /ReportFromStack/)
        next
    if (is_report(target) && !is_report(source))
        next
    # A hook is what stands for it by default.
    if (target == "__indirect_call")
        target = "hook:" source
    if (!((source, target) in seen))
    {
        seen[source, target] = 1
        callees[source] = callees[source] "\t" target
    }
}

END {
    default_of["_?RawAlloc"] = "DefaultAlloc"
    default_of["_RawRealloc"] = "DefaultRealloc"
    default_of["_?RawFree"] = "DefaultFree"
    default_of["ShareAllocator"] = "UseAllocator"
    default_of["EvalAssert"] = "DefaultHandler"
    default_of["_DeleteObject"] = "::~C[A-Za-z]*"
    default_of["MatchWith"] = "SNativeStringUtils::Match[A-Za-z]*"
    for (source in callees)
        if (callees[source] ~ /\thook:/)
            connect_hook(source)
    for (node in names)
    {
        # What has internal linkage is named with its file.
        if (node ~ /:/)
            continue
        depth = depth_of(node)
        if (depth > bound_of(names[node]))
            print "breach: " place_of[node] ": " depth " of " bound_of(names[node]) " bytes: " names[node]
        if (depth > 1024)
            printf "%6d  %s\n", depth, names[node] | "sort -rn"
        if (depth > 1024 && ways != 0)
            for (at = node; at in next_of || at in bytes; at = next_of[at])
            {
                printf "        %6d %6d %s\n", depth, bytes[at], name_of(at) | "cat 1>&2"
                if (!(at in next_of))
                    break
            }
    }
    close("sort -rn")
}

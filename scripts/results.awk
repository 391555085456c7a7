# Reads the XML report of a GoogleTest program and prints one line for each test: pass, fail or skip, and its name.
function attribute(name,    start, rest) {
    start = index($0, " " name "=\"")
    if (!start) return ""
    rest = substr($0, start + length(name) + 3)
    return substr(rest, 1, index(rest, "\"") - 1)
}
function finish() {
    if (test != "") print result, test
    test = ""
}
/^ *<testcase / {
    finish()
    test = attribute("classname") "." attribute("name")
    gsub(/ /, "_", test)
    result = attribute("result") == "suppressed" ? "skip" : "pass"
}
/^ *<skipped/ && result == "pass" { result = "skip" }
/^ *<failure/ { result = "fail" }
/^ *<\/testsuite>/ { finish() }
END { finish() }

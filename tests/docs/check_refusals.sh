#!/usr/bin/env bash
# check_refusals.sh WORK: check_quotes.sh refuses pages whose code is not that of a file.

set -euo pipefail

work=$1
mkdir -p "$work"

# refused SENTENCE: the page on standard input is refused with that sentence.
refused() {
    cat >"$work/page.md"
    if tests/docs/check_quotes.sh "$work/page.md" &>"$work/log"; then
        echo "this page was taken:" >&2
        cat "$work/page.md" >&2
        exit 1
    fi
    grep -qF -e "$1" "$work/log" || {
        echo "expected: $1" >&2
        cat "$work/log" >&2
        exit 1
    }
}

refused "this is not said to be quoted" <<'TEXT'
```cpp
int main() {}
```
TEXT
refused "this is not in tests/install/consumer/main.cpp" <<'TEXT'
<!-- quotes tests/install/consumer/main.cpp -->
```cpp
int mein(int argc, char** argv)
```
TEXT
refused "there is no such file" <<'TEXT'
<!-- quotes tests/install/consumer/none.cpp -->
```cpp
int main(int argc, char** argv)
```
TEXT
refused "which is not built and run" <<'TEXT'
<!-- quotes LICENSE -->
```cpp
MIT
```
TEXT
refused "has an open quotation" <<'TEXT'
<!-- quotes tests/install/consumer/main.cpp -->
```cpp
int main(int argc, char** argv)
TEXT
refused "is empty" <<'TEXT'
<!-- quotes tests/install/consumer/main.cpp -->
```cpp
```
TEXT
refused "this is not in tools/mivo-host/template/plugin.h" <<'TEXT'
<!-- quotes tools/mivo-host/template/plugin.h as reminder -->
```cpp
class GreeterPlugin : public MivoPlugin, public MivoTimerReceiver
```
TEXT
refused "this is no quotation" <<'TEXT'
<!-- quotes tests/install/consumer/main.cpp-->
```text
int main(int argc, char** argv)
```
TEXT

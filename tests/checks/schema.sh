#!/usr/bin/env bash
# The schema that bvhost writes is what docs/bvschema.schema.json describes, and has every format's settings: schema.sh BIN
set -euo pipefail
root=$(cd "$(dirname "$0")/../.." && pwd)
work=$(mktemp -d "${TMPDIR:-/tmp}/bvschema.XXXXXX")
trap 'rm -rf "$work"' EXIT
export BV_REGISTRY=$work/registry.db
"$1/bvhost" register >/dev/null
"$1/bvhost" schema >"$work/schema.json"
python3 - "$work/schema.json" "$root/docs/bvschema.schema.json" <<'END'
import json, sys
import jsonschema

document, description = (json.load(open(name, encoding="utf-8")) for name in sys.argv[1:])
jsonschema.Draft202012Validator.check_schema(description)
jsonschema.validate(document, description)
settings = {one["path"]: one for one in document["settings"]}
assert len(settings) == len(document["settings"]), "a setting stands there twice"
assert [choice["label"] for choice in settings["Main/OutputFileFormat"]["choices"]] == ["AVI", "MP4", "Picture"]
assert settings["MP4/Video/FastStart"]["with"] == [{"node": "Main/OutputFileFormat", "value": "MP4"}]
assert settings["Main/Common/Output/IsSplit/SplitLength"]["range"]["from"] == 0
assert all(one.get("shown by", True) for one in settings.values()), "nothing shows a setting"
END

#!/usr/bin/env bash
# Makes the source distribution, a wheel from it, and a fresh virtual environment with that, all without
# a network; then runs a program there.
#
#   wheel.sh PYTHON ROOT PROGRAM, with PELLIX_LIBRARY and PELLIX_ANSWER_SERVICE as the other tests have them
set -euo pipefail
python=$1 root=$2 program=$3
work=$(mktemp -d)
service=
trap 'kill $service 2>/dev/null || true; rm -rf "$work"' EXIT
unset PYTHONPATH
export PIP_NO_INDEX=1 PIP_DISABLE_PIP_VERSION_CHECK=1 PIP_ROOT_USER_ACTION=ignore PYTHONNOUSERSITE=1

# Building writes beside the sources, and reads the version from the root.
mkdir -p "$work/root/Bindings" "$work/root/Source"
cp -r "$root/Bindings/Python" "$work/root/Bindings"
cp -r "$root/Source/Resources" "$work/root/Source"
cd "$work/root/Bindings/Python"
"$python" -c "import setuptools.build_meta as b; b.build_sdist('$work')" >"$work/log" 2>&1 || { cat "$work/log"; exit 1; }
cd "$work"
"$python" -m pip wheel -q --no-build-isolation --no-deps ./pellix-*.tar.gz
version=$(sed -n '/ShortVersion/{n;s/.*>\(.*\)<.*/\1/p}' "$root/Source/Resources/Info.plist")
[[ -e pellix-$version-py3-none-any.whl ]]
"$python" -m venv --without-pip environment
"$python" -m pip --python environment/bin/python install -q --no-deps ./*.whl
[[ -e $(echo environment/lib/python3*/site-packages/pellix/py.typed) ]]

[[ $(environment/bin/python -c "import pellix; print(pellix.version())") == "$version" ]]
exec {listening}< <(exec "$PELLIX_ANSWER_SERVICE" --quiet --token a-token)
service=$!
read -r -u "$listening" line
export PELLIX_ACCOUNT_URL=${line##* } PELLIX_TOKEN=a-token
grep -q password <<<"$(environment/bin/python "$program" "I forgot my password")"
PELLIX_TOKEN=wrong environment/bin/python "$program" "Password" 2>said && exit 1
grep -q 'com.pellix.providers (401): Unauthorized' said
for library in /none libc.so.6; do
  PELLIX_LIBRARY=$library environment/bin/python "$program" "Password" 2>said && exit 1
  grep -q '^ImportError: ' said
done

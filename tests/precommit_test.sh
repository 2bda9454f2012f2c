#!/usr/bin/env bash
# The hook as pre-commit runs it: precommit_test.sh PROGRAM SOURCE. Skipped (77) without pre-commit.
set -euo pipefail
program=$1 source=$2
command -v pre-commit >/dev/null && command -v git >/dev/null || exit 77
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export PATH=$(dirname "$program"):$PATH PRE_COMMIT_HOME=$work/home HOME=$work
export GIT_AUTHOR_NAME=a GIT_AUTHOR_EMAIL=a@b GIT_COMMITTER_NAME=a GIT_COMMITTER_EMAIL=a@b
unset GIT_DIR GIT_INDEX_FILE GIT_WORK_TREE

commit() { git -C "$1" init -q && git -C "$1" add -A && git -C "$1" commit -q -m all; }

mkdir "$work/hooks" "$work/nets"
cp "$source/.pre-commit-hooks.yaml" "$work/hooks"
commit "$work/hooks"
cp "$source/samples/hugin/asia.net" "$work/nets"
echo "no net" >"$work/nets/notes.txt"
cat >"$work/nets/.pre-commit-config.yaml" <<END
repos:
  - repo: $work/hooks
    rev: $(git -C "$work/hooks" rev-parse HEAD)
    hooks:
      - id: lumo-import
        args: [--fail-on, warning]
END
commit "$work/nets"
cd "$work/nets"
pre-commit run --all-files --verbose
echo 'net { HR_Odd = 1; } node a { }' >odd.net
git add odd.net
if said=$(pre-commit run); then
    echo "the hook let a warning pass"
    exit 1
fi
echo "$said"
grep -q 'odd.net:1:7: warning: ' <<<"$said"
! grep -q 'asia' <<<"$said"

#!/usr/bin/env bash
# usage: make_test_packages.sh FOLDER DEVELOPER_NAME
#
# Makes newer packages for the tests from what package.sh has left of the developer package: another
# service, a page more and a page less. One of them has a step that fails after all that changes
# something, one asks for more room than any disk has, in Chinese too.
source "$(dirname "${BASH_SOURCE[0]}")/../../scripts/lib/common.sh"
strict_mode
cd "$1"

work=$2-work
export TZ=UTC SOURCE_DATE_EPOCH=1577836800
rm -rf test-newer
cp -a "$work/files" test-newer
chmod -R u+w test-newer
# Bytes behind the end of a program do not matter to the system.
printf newer >>test-newer/OrvaAcceleratorService.exe
echo "a new page" >test-newer/docs/new_page.md
rm test-newer/docs/security.md
"$root/installer/make_msi.py" --stage test-newer --actions "$work/OrvaSetupActions.dll" --icon "$work/orva.ico" \
  --version 99.0.0 --developer test-newer.msi

cp test-newer.msi test-newer-failing.msi
# 3073: a function of the DLL, as LocalSystem, when the changes are carried out. Under a name for which
# nothing was prepared, it fails.
msibuild test-newer-failing.msi \
  -q "INSERT INTO CustomAction (Action, Type, Source, Target) VALUES ('TestFails', 3073, 'OrvaSetupActions', 'OrvaCheckFiles')" \
  -q "INSERT INTO InstallExecuteSequence (Action, Sequence) VALUES ('TestFails', 4030)"
cp test-newer.msi test-newer-huge.msi
msibuild test-newer-huge.msi -q "UPDATE Property SET Value='9000000000000' WHERE Property='ORVANEEDEDKB'"
cp test-newer-huge.msi test-newer-huge-chinese.msi
# 51: sets a property; before OrvaPrepare, which reads it. 2052 is Chinese as it is written in China.
msibuild test-newer-huge-chinese.msi \
  -q "INSERT INTO CustomAction (Action, Type, Source, Target) VALUES ('TestSpeaksChinese', 51, 'UserLanguageID', '2052')" \
  -q "INSERT INTO InstallExecuteSequence (Action, Sequence) VALUES ('TestSpeaksChinese', 1005)"

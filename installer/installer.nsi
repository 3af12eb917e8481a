Target amd64-unicode
; The installer; scripts/package.sh defines VERSION, FILES (a list of File commands), HELPER, SIZE_KB,
; OUTPUT and, for the package with the simulated library, DEVELOPER.
;
; It can be run again at any time, over a running service and over an installation that was broken
; off half-way. With /S it asks and shows nothing. Exit code 0: done; 2: not done.
!include LogicLib.nsh
!include FileFunc.nsh

!define SERVICE OrvaAcceleratorService
!define UNINSTALL_KEY "Software\Microsoft\Windows\CurrentVersion\Uninstall\${SERVICE}"
!define LIBRARY "$INSTDIR\accel_sdk\sdk_x64"

Name "Orva Accelerator Service"
OutFile "${OUTPUT}"
RequestExecutionLevel admin
SetCompressor /SOLID lzma
CRCCheck force
SetDateSave off
AllowSkipFiles off
ShowInstDetails show
ShowUninstDetails show
XPStyle on
BrandingText " "

LoadLanguageFile "${NSISDIR}/Contrib/Language files/English.nlf"
LoadLanguageFile "${NSISDIR}/Contrib/Language files/SimpChinese.nlf"

!pragma warning disable 9100 ; No LegalCopyright.
VIProductVersion "${VERSION}.0"
!macro VersionTexts LANGUAGE
  VIAddVersionKey /LANG=${LANGUAGE} ProductName "Orva Accelerator Service"
  VIAddVersionKey /LANG=${LANGUAGE} ProductVersion "${VERSION}"
  VIAddVersionKey /LANG=${LANGUAGE} FileVersion "${VERSION}"
  VIAddVersionKey /LANG=${LANGUAGE} FileDescription "Orva Accelerator Service Setup"
!macroend
!insertmacro VersionTexts ${LANG_ENGLISH}
!insertmacro VersionTexts ${LANG_SIMPCHINESE}

LangString IN_USE ${LANG_ENGLISH} "The running Orva Accelerator Service cannot be stopped. Nothing has been changed. Close the programs that use it and try again."
LangString IN_USE ${LANG_SIMPCHINESE} "无法停止正在运行的 Orva Accelerator Service。未做任何更改。请关闭正在使用它的程序后重试。"
LangString NOT_REMOVED ${LANG_ENGLISH} "This cannot be removed: "
LangString NOT_REMOVED ${LANG_SIMPCHINESE} "无法删除："
LangString NOT_REGISTERED ${LANG_ENGLISH} "The service cannot be registered. Close all windows that show services and try again. Error code: "
LangString NOT_REGISTERED ${LANG_SIMPCHINESE} "无法注册服务。请关闭所有显示服务的窗口后重试。错误代码："
LangString NOT_UNREGISTERED ${LANG_ENGLISH} "The service's registration cannot be removed. Nothing has been deleted. Error code: "
LangString NOT_UNREGISTERED ${LANG_SIMPCHINESE} "无法删除服务的注册信息。未删除任何文件。错误代码："
!ifdef DEVELOPER
LangString REAL_LIBRARY ${LANG_ENGLISH} "The acceleration library is installed here. The developer package would replace it by a simulation. Nothing has been changed."
LangString REAL_LIBRARY ${LANG_SIMPCHINESE} "此处已安装加速库，开发者安装包会用模拟库替换它。未做任何更改。"
!endif

Page instfiles
UninstPage uninstConfirm
UninstPage instfiles

; Not to be chosen, not even with /D: the service runs with all rights on the computer, so only
; administrators may be able to write its folder and, because its registered path has no quotation
; marks, the folders above.
!macro SetFolder
  SetShellVarContext all
  SetRegView 64
  StrCpy $INSTDIR "$PROGRAMFILES64\Orva"
!macroend

!macro GiveUp TEXT
  MessageBox MB_OK|MB_ICONSTOP "${TEXT}" /SD IDOK
  DetailPrint "${TEXT}"
  SetErrorLevel 2
  Abort
!macroend

; Ends what keeps our files in use, and waits until it has ended.
!macro EndWhatRuns
  InitPluginsDir
  File "/oname=$PLUGINSDIR\OrvaSetupHelper.exe" "${HELPER}"
  ExecWait '"$PLUGINSDIR\OrvaSetupHelper.exe" "$INSTDIR"' $0
  ${If} $0 != 0
    !insertmacro GiveUp "$(IN_USE)"
  ${EndIf}
!macroend

; A process that has just ended may keep its file for a moment, and a virus scanner for longer. Push the
; file or folder.
!macro Remover UN NAME COMMAND
  Function ${UN}${NAME}
    Exch $0
    Push $1
    ${For} $1 1 50
      ${COMMAND} "$0"
      ${IfNot} ${FileExists} "$0"
        ${Break}
      ${EndIf}
      Sleep 200
    ${Next}
    ${If} ${FileExists} "$0"
      !insertmacro GiveUp "$(NOT_REMOVED)$0"
    ${EndIf}
    Pop $1
    Pop $0
  FunctionEnd
!macroend
!insertmacro Remover "" RemoveFile "Delete"
!insertmacro Remover "" RemoveFolder "RMDir /r"
!insertmacro Remover "un." RemoveFile "Delete"
!insertmacro Remover "un." RemoveFolder "RMDir /r"

Function .onInit
  !insertmacro SetFolder
!ifdef DEVELOPER
  ${If} ${FileExists} "${LIBRARY}\OpenKernel.dll"
  ${AndIfNot} ${FileExists} "${LIBRARY}\SIMULATED-LIBRARY.txt"
    MessageBox MB_OK|MB_ICONSTOP "$(REAL_LIBRARY)" /SD IDOK
    SetErrorLevel 2
    Quit
  ${EndIf}
!endif
FunctionEnd

Function un.onInit
  !insertmacro SetFolder
FunctionEnd

; The command words of the service; the exit code is in $0.
Function RunInstall
  nsExec::ExecToLog '"$INSTDIR\${SERVICE}.exe" install'
  Pop $0
FunctionEnd

Section
  !insertmacro EndWhatRuns
  ; The service first: without its executable nobody can start it again.
  Push "$INSTDIR\${SERVICE}.exe"
  Call RemoveFile
  Push "$INSTDIR\orvactl.exe"
  Call RemoveFile
  Push "$INSTDIR\docs"
  Call RemoveFolder
  ${If} ${FileExists} "${LIBRARY}\SIMULATED-LIBRARY.txt"
    Push "${LIBRARY}\OpenKernel.dll"
    Call RemoveFile
    Delete "${LIBRARY}\SIMULATED-LIBRARY.txt"
  ${EndIf}
  Delete "${LIBRARY}\PUT-OpenKernel.dll-HERE.txt"

  SetOverwrite on
  !include "${FILES}"
  SetOutPath "$INSTDIR"
  WriteUninstaller "$INSTDIR\Uninstall.exe"

  WriteRegStr HKLM "${UNINSTALL_KEY}" DisplayName "Orva Accelerator Service"
  WriteRegStr HKLM "${UNINSTALL_KEY}" DisplayVersion "${VERSION}"
  WriteRegStr HKLM "${UNINSTALL_KEY}" DisplayIcon "$INSTDIR\orvactl.exe"
  WriteRegStr HKLM "${UNINSTALL_KEY}" InstallLocation "$INSTDIR"
  WriteRegStr HKLM "${UNINSTALL_KEY}" UninstallString '"$INSTDIR\Uninstall.exe"'
  WriteRegStr HKLM "${UNINSTALL_KEY}" QuietUninstallString '"$INSTDIR\Uninstall.exe" /S'
  WriteRegDWORD HKLM "${UNINSTALL_KEY}" EstimatedSize ${SIZE_KB}
  WriteRegDWORD HKLM "${UNINSTALL_KEY}" NoModify 1
  WriteRegDWORD HKLM "${UNINSTALL_KEY}" NoRepair 1

  ; A registration that was deleted stays in the way (1072) until the last window that shows it is
  ; closed; the windows of others let go of it after a moment.
  ${For} $1 1 20
    Call RunInstall
    ${If} $0 != 1072
      ${Break}
    ${EndIf}
    Sleep 500
  ${Next}
  ${If} $0 != 0
    !insertmacro GiveUp "$(NOT_REGISTERED)$0"
  ${EndIf}
  ; install leaves the path of an existing registration alone, which may have been made elsewhere.
  nsExec::ExecToLog '"$INSTDIR\${SERVICE}.exe" update'
  Pop $0
  ${If} $0 != 0
    !insertmacro GiveUp "$(NOT_REGISTERED)$0"
  ${EndIf}
SectionEnd

Section Uninstall
  !insertmacro EndWhatRuns
  ; The process has ended, so this does not wait for it. 1060: there is no registration.
  nsExec::ExecToLog '"$INSTDIR\${SERVICE}.exe" uninstall'
  Pop $0
  ${If} $0 != 0
  ${AndIf} $0 != 1060
  ${AndIf} ${FileExists} "$INSTDIR\${SERVICE}.exe"
    !insertmacro GiveUp "$(NOT_UNREGISTERED)$0"
  ${EndIf}

  Push "$INSTDIR\${SERVICE}.exe"
  Call un.RemoveFile
  Push "$INSTDIR\orvactl.exe"
  Call un.RemoveFile
  ; With the library, whoever put it there, and what it has written.
  Push "$INSTDIR\accel_sdk"
  Call un.RemoveFolder
  Push "$INSTDIR\docs"
  Call un.RemoveFolder
  Delete "$INSTDIR\Uninstall.exe"
  ; Not /r: what others have put here is theirs. A window that shows the folder may hold it for a moment.
  SetOutPath "$TEMP"
  ${For} $1 1 10
    ClearErrors
    RMDir "$INSTDIR"
    ${IfNot} ${Errors}
      ${Break}
    ${EndIf}
    Sleep 100
  ${Next}
  DeleteRegKey HKLM "${UNINSTALL_KEY}"
SectionEnd

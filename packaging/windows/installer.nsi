; The Windows installer. Made by package.sh, which passes
;   VERSION  of the product, OUT  the file to write, LICENCE  the file to show, SIZE  in KiB,
;   ART      the folder with the pictures,
;   FILES    a script with the macros InstallFiles and RemoveFiles: what is installed, file by file.
;
; Silent:   SETUP.exe /S                  for all users (needs an administrator)
;           SETUP.exe /S /CurrentUser     for this user only
Unicode true
Target amd64-unicode
SetCompressor /SOLID lzma
ManifestDPIAware true

!define NAME "Corvane QVX77x"
!define VENDOR "Quorvant"
!define VENDOR_FOLDER "quorvant.example"   ; as hosts know the vendor
!define UNINSTALL_KEY "Software\Microsoft\Windows\CurrentVersion\Uninstall\${VENDOR} ${NAME}"

!define MULTIUSER_MUI
!define MULTIUSER_EXECUTIONLEVEL Highest
!define MULTIUSER_INSTALLMODE_COMMANDLINE
!define MULTIUSER_USE_PROGRAMFILES64
!define MULTIUSER_INSTALLMODE_INSTDIR "${VENDOR}\${NAME}"
!include MultiUser.nsh
!include MUI2.nsh
!include LogicLib.nsh
!include StrFunc.nsh
!include x64.nsh
${Using:StrFunc} UnStrStr

!include "${FILES}"

Name "${NAME} ${VERSION}"
BrandingText "${NAME} ${VERSION}"
OutFile "${OUT}"
ShowInstDetails nevershow
ShowUninstDetails nevershow
VIProductVersion "${VERSION}.0"
VIAddVersionKey ProductName "${NAME}"
VIAddVersionKey CompanyName "${VENDOR}"
VIAddVersionKey FileDescription "${NAME} installer"
VIAddVersionKey FileVersion "${VERSION}"
VIAddVersionKey ProductVersion "${VERSION}"
VIAddVersionKey LegalCopyright "GPL-3.0-or-later"

Var Plugins   ; the folder that hosts scan
Var Presets   ; where hosts look for a product's presets

!define MUI_ABORTWARNING
!define MUI_ICON "${ART}/icon.ico"
!define MUI_UNICON "${ART}/icon.ico"
!define MUI_HEADERIMAGE
!define MUI_HEADERIMAGE_RIGHT
!define MUI_HEADERIMAGE_BITMAP "${ART}/head.bmp"
!define MUI_HEADERIMAGE_UNBITMAP "${ART}/head.bmp"
!define MUI_WELCOMEFINISHPAGE_BITMAP "${ART}/side.bmp"
!define MUI_UNWELCOMEFINISHPAGE_BITMAP "${ART}/side.bmp"
!define MUI_LICENSEPAGE_TEXT_TOP "${NAME} is free software. Its licence:"
!define MUI_LICENSEPAGE_BUTTON "&Next >"
!define MUI_LICENSEPAGE_TEXT_BOTTOM "You need not accept the licence to use the plug-in; it says \
what you may do with copies of it."
!insertmacro MUI_PAGE_LICENSE "${LICENCE}"
!insertmacro MULTIUSER_PAGE_INSTALLMODE
!insertmacro MUI_PAGE_INSTFILES
!define MUI_FINISHPAGE_TEXT "${NAME} is installed. Let your host scan for plug-ins; it is listed \
under Fx, Delay."
!define MUI_FINISHPAGE_SHOWREADME "$INSTDIR\manual.pdf"
!define MUI_FINISHPAGE_SHOWREADME_TEXT "Open the manual"
!define MUI_FINISHPAGE_SHOWREADME_NOTCHECKED
!insertmacro MUI_PAGE_FINISH
!insertmacro MUI_UNPAGE_CONFIRM
!insertmacro MUI_UNPAGE_INSTFILES
!insertmacro MUI_LANGUAGE English

; The context, set by then, makes $APPDATA the user's or everybody's.
!macro FindPlaces
    ${If} $MultiUser.InstallMode == AllUsers
        StrCpy $Plugins "$COMMONFILES64\VST3"
    ${Else}
        StrCpy $Plugins "$LOCALAPPDATA\Programs\Common\VST3"
    ${EndIf}
    StrCpy $Presets "$APPDATA\VST3 Presets\${VENDOR_FOLDER}\${NAME}"
!macroend

Function .onInit
    ${IfNot} ${RunningX64}
        MessageBox MB_OK|MB_ICONSTOP "${NAME} needs a 64-bit Windows." /SD IDOK
        SetErrorLevel 2
        Quit
    ${EndIf}
    SetRegView 64
    !insertmacro MULTIUSER_INIT
FunctionEnd

Function un.onInit
    SetRegView 64
    !insertmacro MULTIUSER_UNINIT
    ; Whom it was installed for, its own place tells.
    ${UnStrStr} $0 $INSTDIR $PROGRAMFILES64
    ${If} $0 == $INSTDIR
        Call un.MultiUser.InstallMode.AllUsers
    ${Else}
        Call un.MultiUser.InstallMode.CurrentUser
    ${EndIf}
FunctionEnd

Section
    !insertmacro FindPlaces
    ; An earlier version may have had other files.
    ${If} ${FileExists} "$INSTDIR\uninstall.exe"
        ExecWait '"$INSTDIR\uninstall.exe" /S _?=$INSTDIR'
    ${EndIf}
    ClearErrors
    SetOverwrite on
    !insertmacro InstallFiles
    SetOutPath $INSTDIR
    WriteUninstaller "$INSTDIR\uninstall.exe"
    ${If} ${Errors}
        MessageBox MB_OK|MB_ICONSTOP "Not all files could be written. Close your host, if it has \
the plug-in loaded, and install again." /SD IDOK
        SetErrorLevel 2
        Abort
    ${EndIf}
    CreateShortcut "$SMPROGRAMS\${NAME} manual.lnk" "$INSTDIR\manual.pdf"

    WriteRegStr SHCTX "${UNINSTALL_KEY}" DisplayName "${NAME}"
    WriteRegStr SHCTX "${UNINSTALL_KEY}" DisplayVersion "${VERSION}"
    WriteRegStr SHCTX "${UNINSTALL_KEY}" DisplayIcon "$INSTDIR\uninstall.exe"
    WriteRegStr SHCTX "${UNINSTALL_KEY}" Publisher "${VENDOR}"
    WriteRegStr SHCTX "${UNINSTALL_KEY}" URLInfoAbout "https://www.quorvant.example"
    WriteRegStr SHCTX "${UNINSTALL_KEY}" InstallLocation "$INSTDIR"
    WriteRegStr SHCTX "${UNINSTALL_KEY}" UninstallString '"$INSTDIR\uninstall.exe"'
    WriteRegStr SHCTX "${UNINSTALL_KEY}" QuietUninstallString '"$INSTDIR\uninstall.exe" /S'
    WriteRegDWORD SHCTX "${UNINSTALL_KEY}" EstimatedSize ${SIZE}
    WriteRegDWORD SHCTX "${UNINSTALL_KEY}" NoModify 1
    WriteRegDWORD SHCTX "${UNINSTALL_KEY}" NoRepair 1
SectionEnd

; Folders go only when they are empty: what the user put there stays, and so does what the user
; saved elsewhere.
Section Uninstall
    !insertmacro FindPlaces
    !insertmacro RemoveFiles
    ${If} ${FileExists} "$Plugins\${NAME}.vst3\Contents\x86_64-win\${NAME}.vst3"
        MessageBox MB_OK|MB_ICONSTOP "The plug-in is in use. Close your host, and uninstall again." \
            /SD IDOK
        SetErrorLevel 2
        Abort
    ${EndIf}
    RMDir "$APPDATA\VST3 Presets\${VENDOR_FOLDER}"
    RMDir "$APPDATA\VST3 Presets"
    Delete "$SMPROGRAMS\${NAME} manual.lnk"
    Delete "$INSTDIR\uninstall.exe"
    RMDir "$INSTDIR"
    RMDir "$INSTDIR\.."
    DeleteRegKey SHCTX "${UNINSTALL_KEY}"
SectionEnd

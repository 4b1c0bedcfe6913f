; The installer for Windows: for one user, without rights of an administrator. Called by scripts/package with
;   makensis -DVERSION=1.0.0 -DFILES=FOLDER -DOUTPUT=FILE installer.nsi
; Settings, thumbnails and photos are the user's, and stay when the program goes.

Target amd64-unicode ; which a Wine without its 32-bit part runs as well
Unicode true
ManifestDPIAware true
SetCompressor /SOLID lzma
RequestExecutionLevel user

!include "LogicLib.nsh"
!include "MUI2.nsh"

!define NAME "Orrelan Gallery"
!define PROGRAM "orrelan-gallery.exe"
!define CLASS "OrrelanGallery.Image"
!define CLASSES "Software\Classes"
!define CAPABILITIES "Software\Orrelan Gallery\Capabilities"
!define UNINSTALL "Software\Microsoft\Windows\CurrentVersion\Uninstall\Orrelan Gallery"

Name "${NAME}"
OutFile "${OUTPUT}"
InstallDir "$LOCALAPPDATA\Programs\${NAME}"
InstallDirRegKey HKCU "${UNINSTALL}" "InstallLocation"

!define MUI_ICON "orrelan-gallery.ico"
!define MUI_UNICON "orrelan-gallery.ico"
!define MUI_FINISHPAGE_RUN "$INSTDIR\${PROGRAM}"

!insertmacro MUI_PAGE_DIRECTORY
!insertmacro MUI_PAGE_INSTFILES
!insertmacro MUI_PAGE_FINISH
!insertmacro MUI_UNPAGE_CONFIRM
!insertmacro MUI_UNPAGE_INSTFILES
!insertmacro MUI_LANGUAGE "English"

; "Open with" names the program for a type; which program opens it stays as it is.
!macro OfferFor SUFFIX
    WriteRegStr HKCU "${CLASSES}\.${SUFFIX}\OpenWithProgids" "${CLASS}" ""
    WriteRegStr HKCU "${CLASSES}\Applications\${PROGRAM}\SupportedTypes" ".${SUFFIX}" ""
    WriteRegStr HKCU "${CAPABILITIES}\FileAssociations" ".${SUFFIX}" "${CLASS}"
!macroend
!macro WithdrawFor SUFFIX
    DeleteRegValue HKCU "${CLASSES}\.${SUFFIX}\OpenWithProgids" "${CLASS}"
    DeleteRegKey /ifempty HKCU "${CLASSES}\.${SUFFIX}\OpenWithProgids"
    DeleteRegKey /ifempty HKCU "${CLASSES}\.${SUFFIX}"
!macroend
!macro ForEachType MACRO
    !insertmacro ${MACRO} "avif"
    !insertmacro ${MACRO} "bmp"
    !insertmacro ${MACRO} "gif"
    !insertmacro ${MACRO} "heif"
    !insertmacro ${MACRO} "heic"
    !insertmacro ${MACRO} "jpg"
    !insertmacro ${MACRO} "jpeg"
    !insertmacro ${MACRO} "jpe"
    !insertmacro ${MACRO} "jif"
    !insertmacro ${MACRO} "jfif"
    !insertmacro ${MACRO} "jfi"
    !insertmacro ${MACRO} "jxl"
    !insertmacro ${MACRO} "png"
    !insertmacro ${MACRO} "psd"
    !insertmacro ${MACRO} "pspimage"
    !insertmacro ${MACRO} "tif"
    !insertmacro ${MACRO} "tiff"
    !insertmacro ${MACRO} "webp"
!macroend

!macro TellShell
    System::Call 'shell32::SHChangeNotify(i 0x08000000, i 0, p 0, p 0)' ; SHCNE_ASSOCCHANGED
!macroend

Section
    ; What is there goes first: an older version may have files that this one has not, and while it runs it stays whole.
    ${If} ${FileExists} "$INSTDIR\uninstall.exe"
        ExecWait '"$INSTDIR\uninstall.exe" /S _?=$INSTDIR'
        ${If} ${FileExists} "$INSTDIR\${PROGRAM}"
            Abort "${NAME} is running."
        ${EndIf}
    ${EndIf}
    SetOutPath "$INSTDIR"
    File /r "${FILES}/*"
    WriteUninstaller "$INSTDIR\uninstall.exe"
    CreateShortcut "$SMPROGRAMS\${NAME}.lnk" "$INSTDIR\${PROGRAM}"

    WriteRegStr HKCU "${CLASSES}\${CLASS}" "" "Picture"
    WriteRegStr HKCU "${CLASSES}\${CLASS}\DefaultIcon" "" "$INSTDIR\${PROGRAM},0"
    WriteRegStr HKCU "${CLASSES}\${CLASS}\shell\open\command" "" '"$INSTDIR\${PROGRAM}" "%1"'
    WriteRegStr HKCU "${CLASSES}\Applications\${PROGRAM}" "FriendlyAppName" "${NAME}"
    WriteRegStr HKCU "${CLASSES}\Applications\${PROGRAM}\shell\open\command" "" '"$INSTDIR\${PROGRAM}" "%1"'
    WriteRegStr HKCU "${CAPABILITIES}" "ApplicationName" "${NAME}"
    WriteRegStr HKCU "${CAPABILITIES}" "ApplicationDescription" "Photo organiser and image viewer"
    WriteRegStr HKCU "Software\RegisteredApplications" "${NAME}" "${CAPABILITIES}"
    !insertmacro ForEachType OfferFor

    WriteRegStr HKCU "${UNINSTALL}" "DisplayName" "${NAME}"
    WriteRegStr HKCU "${UNINSTALL}" "DisplayVersion" "${VERSION}"
    WriteRegStr HKCU "${UNINSTALL}" "DisplayIcon" "$INSTDIR\${PROGRAM}"
    WriteRegStr HKCU "${UNINSTALL}" "Publisher" "Orrelan"
    WriteRegStr HKCU "${UNINSTALL}" "InstallLocation" "$INSTDIR"
    WriteRegStr HKCU "${UNINSTALL}" "UninstallString" '"$INSTDIR\uninstall.exe"'
    WriteRegStr HKCU "${UNINSTALL}" "QuietUninstallString" '"$INSTDIR\uninstall.exe" /S'
    WriteRegDWORD HKCU "${UNINSTALL}" "NoModify" 1
    WriteRegDWORD HKCU "${UNINSTALL}" "NoRepair" 1
    !insertmacro TellShell
SectionEnd

Section "Uninstall"
    ; While the program runs, nothing goes.
    Delete "$INSTDIR\${PROGRAM}"
    ${If} ${FileExists} "$INSTDIR\${PROGRAM}"
        Abort "${NAME} is running."
    ${EndIf}

    ; What was installed, by name: never a folder with what else the user put there.
    !include "${FILES}.nsh"
    Delete "$INSTDIR\uninstall.exe"
    RMDir "$INSTDIR"
    Delete "$SMPROGRAMS\${NAME}.lnk"

    !insertmacro ForEachType WithdrawFor
    DeleteRegKey HKCU "${CLASSES}\${CLASS}"
    DeleteRegKey HKCU "${CLASSES}\Applications\${PROGRAM}"
    DeleteRegKey HKCU "Software\Orrelan Gallery"
    DeleteRegValue HKCU "Software\RegisteredApplications" "${NAME}"
    DeleteRegKey HKCU "${UNINSTALL}"
    !insertmacro TellShell
SectionEnd

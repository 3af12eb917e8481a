<#
.SYNOPSIS
Tries the service on a real Windows PC, and writes one report.

.DESCRIPTION
Start it from an elevated Windows PowerShell 5.1, in the folder that scripts/acceptance_kit.sh has packed:

    powershell -ExecutionPolicy Bypass -File acceptance.ps1 -DryRun
    powershell -ExecutionPolicy Bypass -File acceptance.ps1

It runs the prebuilt tests, each in a process of its own, and then checks by itself what only real
Windows can show. It installs, starts, stops and removes the service many times, makes one local
user for some seconds, and leaves nothing behind but the report. It refuses to start when anything is
there that it would make: the service, a folder, an installed package, the user.

The report is written twice, acceptance-report.txt to be read and acceptance-report.json for programs,
beside this script. Exit code: 0 everything passed, 1 something failed, 2 not run.

.PARAMETER SkipTests
Only the checks that only real Windows can show.

.PARAMETER DryRun
Says what would be done and whether something stands in the way. Changes nothing, writes no report, and
needs no elevation.
#>
#Requires -Version 5.1
#Requires -PSEdition Desktop
param([switch]$SkipTests, [switch]$DryRun)

Set-StrictMode -Version 2.0
$ErrorActionPreference = 'Stop'

$kit = Split-Path -Parent $MyInvocation.MyCommand.Path
$bin = Join-Path $kit 'bin'
$reportText = Join-Path $kit 'acceptance-report.txt'
$reportJson = Join-Path $kit 'acceptance-report.json'
$service = 'OrvaAcceleratorService'
$installed = Join-Path $env:ProgramFiles 'Orva'
# A test of the package puts a program there for a moment, to see it reported.
$shadow = Join-Path ([IO.Path]::GetPathRoot($env:ProgramFiles)) 'Program.exe'
# Where the package notes what is to be restored.
$setupState = 'HKLM:\SOFTWARE\OrvaAcceleratorService'
$script:machine = ''

. (Join-Path $kit 'report.ps1')
. (Join-Path $kit 'prebuilt_tests.ps1')
. (Join-Path $kit 'service_checks.ps1')
. (Join-Path $kit 'ordinary_user.ps1')

function Test-Registered {
    return $null -ne (Get-Service -Name $service -ErrorAction SilentlyContinue)
}

function Get-UninstallEntries {
    foreach ($view in 'SOFTWARE', 'SOFTWARE\WOW6432Node') {
        $path = "HKLM:\$view\Microsoft\Windows\CurrentVersion\Uninstall"
        if (-not (Test-Path $path)) { continue }
        foreach ($key in (Get-ChildItem $path)) {
            if ("$($key.GetValue('DisplayName'))" -eq 'Orva Accelerator Service') { $key.Name }
        }
    }
}

# Everything that this script or its tests make and remove. What was there before is somebody else's.
function Get-Obstacles {
    if (-not [Environment]::Is64BitProcess) {
        # It sees other folders and lacks commands, so that nothing else can be asked.
        'this is a 32-bit PowerShell'
        return
    }
    if (Test-Registered) { "the service $service is registered" }
    foreach ($path in $installed, $folder, $shadow) {
        if (Test-Path -LiteralPath $path) { "$path exists" }
    }
    if (Test-Path -LiteralPath $setupState) { "an installation was broken off: $setupState" }
    foreach ($key in (Get-UninstallEntries)) { "the package is installed: $key" }
    if (Test-UserExists) { "the local user $user exists" }
}

function Test-Elevated {
    $identity = New-Object Security.Principal.WindowsPrincipal ([Security.Principal.WindowsIdentity]::GetCurrent())
    return $identity.IsInRole([Security.Principal.WindowsBuiltInRole]::Administrator)
}

# What is done, in this order, and what each step changes meanwhile.
$steps = @(
    @{ Name = 'The prebuilt tests'; Run = { Invoke-PrebuiltTests }; Tests = $true
       Changes = "registers and removes $service, from temporary folders and with the package in $installed; makes and removes $shadow" },
    @{ Name = 'What only real Windows shows of the service'; Run = { Invoke-ServiceChecks }; Tests = $false
       Changes = "registers and removes $service from $folder; makes and removes the local user $user" }
)

$obstacles = @(Get-Obstacles)
if ($DryRun) {
    foreach ($step in $steps) {
        if ($step.Tests -and $SkipTests) { continue }
        Write-Host "$($step.Name): $($step.Changes)"
        if ($step.Tests) { foreach ($program in (Get-TestPrograms)) { Write-Host "    $($program.Name)" } }
    }
    foreach ($obstacle in $obstacles) { Write-Host "In the way: $obstacle" }
    if (-not (Test-Elevated)) { Write-Host 'In the way: this prompt is not elevated' }
    Write-Host 'Nothing has been changed.'
    exit 0
}
if (-not (Test-Elevated)) {
    Write-Host 'Start this from an elevated prompt.'
    exit 2
}
if ($obstacles.Count -gt 0) {
    foreach ($obstacle in $obstacles) { Write-Host "Not started: $obstacle." }
    Write-Host 'Remove it first if nobody needs it. Nothing has been changed.'
    exit 2
}

$state = 'broken off'
try {
    Start-Report
    $system = Get-CimInstance -ClassName Win32_OperatingSystem
    $script:machine = "$($system.Caption) $($system.Version), $($system.OSArchitecture)"
    Write-Line $script:machine
    $version = (Get-Item -LiteralPath (Join-Path $bin "$service.exe")).VersionInfo
    Write-Line "Service $($version.ProductVersion), $(Get-Content -LiteralPath (Join-Path $kit 'revision.txt'))"
    Write-Line "Begun $(Get-UtcTime)"
    foreach ($step in $steps) {
        if ($step.Tests -and $SkipTests) { continue }
        Write-Line "---- $($step.Name)"
        Invoke-Check $step.Name $step.Run
    }
    $left = @(Get-Obstacles)
    Add-Check 'Nothing is left behind' ($left.Count -eq 0) 'nothing' ($left -join '; ')
    Write-Line ''
    Write-Line 'By hand, after this: install the package, start the service, keep "orvactl watch" running, and'
    Write-Line 'restart the PC. It must not wait for the service. Afterwards "orvactl status" works again when'
    Write-Line 'the service has been started.'
    $state = 'finished'
} finally {
    Write-Line ''
    Write-Line ("Ended {0}, {1}: {2} passed, {3} failed, {4} skipped" -f (Get-UtcTime), $state,
        (Get-Count 'passed'), (Get-Count 'failed'), (Get-Count 'skipped'))
    Save-ReportAsJson $state
}
if ((Get-Count 'failed') -gt 0) { exit 1 }
exit 0

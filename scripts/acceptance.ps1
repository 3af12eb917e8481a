<#
.SYNOPSIS
Tries the service on a real Windows PC, and writes one report.

.DESCRIPTION
Start it from an elevated Windows PowerShell 5.1, in the folder that scripts/acceptance_kit.sh has packed:

    powershell -ExecutionPolicy Bypass -File acceptance.ps1

It runs the prebuilt tests, each in a process of its own, and then checks by itself what only real
Windows can show. It installs, starts, stops and removes the service many times, makes one local
user for some seconds, and leaves nothing behind. Do not run it on a PC on which the service is in use:
it refuses when the service is registered.

The report is acceptance-report.txt beside this script. Exit code: 0 everything passed, 1 something
failed, 2 not run.

.PARAMETER SkipTests
Only the checks that only real Windows can show.
#>
param([switch]$SkipTests)

Set-StrictMode -Version 2.0
$ErrorActionPreference = 'Stop'

$kit = Split-Path -Parent $MyInvocation.MyCommand.Path
$bin = Join-Path $kit 'bin'
$report = Join-Path $kit 'acceptance-report.txt'
$service = 'OrvaAcceleratorService'
$requestPipe = 'OrvaAccelerator_Request'
$pushPipe = 'OrvaAccelerator_Push'
$user = 'orva_acceptance'
# Only administrators can write here, as in a real installation.
$folder = Join-Path $env:ProgramFiles 'Orva Acceptance'
$executable = Join-Path $folder "$service.exe"
$orvactl = Join-Path $folder 'orvactl.exe'
$library = Join-Path $folder 'accel_sdk\sdk_x64\OpenKernel.dll'

$script:passed = 0
$script:failed = 0

function Write-Report([string]$text) {
    Write-Host $text
    Add-Content -Path $report -Value $text -Encoding UTF8
}

# Notes the outcome of one check, with what was seen.
function Write-Check([string]$name, [bool]$ok, [string]$seen) {
    if ($ok) { $script:passed++; $word = 'PASSED' } else { $script:failed++; $word = 'FAILED' }
    Write-Report ('{0}  {1}  [{2}]' -f $word, $name, $seen)
}

# Runs one check; whatever it throws is a failure of that check and of no other.
function Invoke-Check([string]$name, [scriptblock]$check) {
    try { & $check } catch { Write-Check $name $false ('stopped by: ' + $_.Exception.Message) }
}

# Runs a program and returns its exit code and what it wrote. After the limit it is ended, and the
# exit code is empty.
function Invoke-Program([string]$program, [string]$arguments, [int]$seconds) {
    $start = New-Object System.Diagnostics.ProcessStartInfo
    $start.FileName = $program
    $start.Arguments = $arguments
    $start.UseShellExecute = $false
    $start.RedirectStandardOutput = $true
    $start.RedirectStandardError = $true
    $start.WorkingDirectory = $kit
    $process = [System.Diagnostics.Process]::Start($start)
    # Read while it runs: a full pipe would stop it.
    $output = $process.StandardOutput.ReadToEndAsync()
    $errors = $process.StandardError.ReadToEndAsync()
    $code = $null
    if ($process.WaitForExit($seconds * 1000)) {
        $code = $process.ExitCode
    } else {
        # Not through the shell: there, what a program writes as errors would end this script.
        $kill = Start-Process "$env:SystemRoot\System32\taskkill.exe" "/F /T /PID $($process.Id)" `
            -WindowStyle Hidden -PassThru
        $kill.WaitForExit(30000) | Out-Null
    }
    # A process that it left behind may hold the pipes.
    $text = ''
    if ($output.Wait(5000)) { $text += $output.Result }
    if ($errors.Wait(5000)) { $text += $errors.Result }
    return New-Object PSObject -Property @{ Code = $code; Text = $text.Trim() }
}

function Wait-Until([int]$seconds, [scriptblock]$condition) {
    $deadline = (Get-Date).AddSeconds($seconds)
    while (-not (& $condition)) {
        if ((Get-Date) -gt $deadline) { return $false }
        Start-Sleep -Milliseconds 100
    }
    return $true
}

function Test-Registered {
    return $null -ne (Get-Service -Name $service -ErrorAction SilentlyContinue)
}

function Get-ServiceRecord {
    return Get-CimInstance -ClassName Win32_Service -Filter "Name='$service'"
}

# ---- Preparing and clearing up -----------------------------------------------------------------

function Install-ForChecks([string]$libraryFile) {
    New-Item -ItemType Directory -Force -Path (Split-Path -Parent $library) | Out-Null
    Copy-Item (Join-Path $bin "$service.exe") $executable -Force
    Copy-Item (Join-Path $bin 'orvactl.exe') $orvactl -Force
    Copy-Item (Join-Path $bin $libraryFile) $library -Force
    $result = Invoke-Program $executable 'install' 30
    if ($result.Code -ne 0) { throw "install ended with exit code $($result.Code)" }
    Start-Service -Name $service
    (Get-Service -Name $service).WaitForStatus('Running', [TimeSpan]::FromSeconds(30))
}

# Without a client the service stops itself after some seconds, so one listens.
function Start-Listener {
    return Start-Process -FilePath $orvactl -ArgumentList 'watch' -WindowStyle Hidden -PassThru
}

function Remove-AfterChecks {
    Get-Process -Name 'orvactl' -ErrorAction SilentlyContinue |
        Where-Object { $_.Path -eq $orvactl } | Stop-Process -Force -ErrorAction SilentlyContinue
    if (Test-Registered) {
        $processId = (Get-ServiceRecord).ProcessId
        Invoke-Program (Join-Path $bin "$service.exe") 'uninstall' 60 | Out-Null
        # One that waits for its message box does not end by itself.
        if ($processId -ne 0 -and (Get-Process -Id $processId -ErrorAction SilentlyContinue)) {
            Invoke-Program "$env:SystemRoot\System32\taskkill.exe" "/F /PID $processId" 30 | Out-Null
        }
        if (-not (Wait-Until 30 { -not (Test-Registered) })) {
            Write-Report 'NOTE  the registration is still there: close all windows that show services'
        }
    }
    if (Test-Path $folder) {
        # A process that has just ended may keep its file for a moment.
        Wait-Until 10 {
            Remove-Item -Recurse -Force $folder -ErrorAction SilentlyContinue
            -not (Test-Path $folder)
        } | Out-Null
    }
}

# ---- The prebuilt tests ------------------------------------------------------------------------

function Get-TestNames([string]$program) {
    $suite = ''
    foreach ($line in ((Invoke-Program $program '--gtest_list_tests' 60).Text -split "`r?`n")) {
        if ($line -match '^(\S+\.)(\s+#.*)?$') { $suite = $Matches[1] }
        elseif ($suite -ne '' -and $line -match '^  (\S+)') { $suite + $Matches[1] }
    }
}

function Invoke-Tests {
    $env:ORVA_VECTORS = (Join-Path $kit 'vectors') -replace '\\', '/'
    $programs = @(Get-ChildItem (Join-Path $bin 'tests') -Filter '*_tests.exe' | Sort-Object Name)
    foreach ($program in $programs) {
        Write-Report "-- $($program.Name)"
        $names = @(Get-TestNames $program.FullName)
        if ($names.Count -eq 0) { Write-Check $program.Name $false 'lists no tests' }
        foreach ($name in $names) {
            $result = Invoke-Program $program.FullName "--gtest_color=no --gtest_filter=$name" 300
            # A filter that matches nothing would pass as well.
            $ran = $result.Text -match '\[  PASSED  \] 1 test'
            Write-Check $name ($result.Code -eq 0 -and $ran) "exit code $($result.Code)"
            if ($result.Code -ne 0) { Write-Report $result.Text }
        }
    }
}

# ---- What only real Windows can show -----------------------------------------------------------

function Test-ServiceSecurity {
    # The hexadecimal rights of Authenticated Users come back in letters.
    $expected = 'D:(A;;CCLCSWRPWPDTLOCRRC;;;SY)(A;;CCDCLCSWRPWPDTLOCRSDRCWDWO;;;BA)(A;;CCLCRPWPRC;;;AU)'
    $text = ((& "$env:SystemRoot\System32\sc.exe" sdshow $service) -join '').Trim()
    # The audit list behind it is the system's.
    $seen = ($text -split 'S:\(')[0]
    Write-Check 'The service security reads back as it was set' ($seen -eq $expected) $text
}

function Test-AcceptedControls {
    $controller = Get-Service -Name $service
    Write-Check 'The stop control is accepted' $controller.CanStop "CanStop $($controller.CanStop)"
    Write-Check 'The shutdown control is accepted' $controller.CanShutdown `
        "CanShutdown $($controller.CanShutdown)"
    Write-Check 'Pause and continue are not accepted' (-not $controller.CanPauseAndContinue) `
        "CanPauseAndContinue $($controller.CanPauseAndContinue)"
}

function Test-PipeSecurity([string]$name) {
    $pipe = New-Object System.IO.Pipes.NamedPipeClientStream '.', $name, 'InOut'
    try {
        $pipe.Connect(5000)
        $security = $pipe.GetAccessControl()
        $seen = $security.GetSecurityDescriptorSddlForm('Access')
    } finally { $pipe.Dispose() }
    # Generic read and write, as the file system spells them, for Authenticated Users only.
    Write-Check "Pipe $name is open to Authenticated Users only" `
        ($seen -match '^D:(P?)\(A;;0x12019f;;;AU\)$') $seen
}

function New-Password {
    $bytes = New-Object byte[] 18
    [System.Security.Cryptography.RandomNumberGenerator]::Create().GetBytes($bytes)
    return 'Aa1!' + [Convert]::ToBase64String($bytes)
}

function Test-OrdinaryUser {
    $password = ConvertTo-SecureString (New-Password) -AsPlainText -Force
    # Left behind by a run that was broken off.
    Remove-LocalUser -Name $user -ErrorAction SilentlyContinue
    New-LocalUser -Name $user -Password $password -AccountNeverExpires | Out-Null
    try {
        # Users, whatever the group is called here; without it nobody may log on.
        Add-LocalGroupMember -SID 'S-1-5-32-545' -Member $user
        $credential = New-Object System.Management.Automation.PSCredential "$env:COMPUTERNAME\$user", $password
        # An account without any rights of its own.
        $commands = @(
            @{ Name = 'may talk to the service'; Line = "`"$orvactl`" status"; Good = $true },
            @{ Name = 'may query the service'; Line = "sc.exe query $service"; Good = $true },
            @{ Name = 'may not point the service elsewhere'
               Line = "sc.exe config $service binPath= C:\elsewhere.exe"; Good = $false },
            @{ Name = 'may not delete the service'; Line = "sc.exe delete $service"; Good = $false },
            @{ Name = 'may not write into its folder'
               Line = "echo x>`"$folder\planted.dll`""; Good = $false },
            @{ Name = 'may stop the service'; Line = "sc.exe stop $service"; Good = $true }
        )
        foreach ($command in $commands) {
            Invoke-Check "An ordinary user $($command.Name)" {
                $process = Start-Process -FilePath "$env:SystemRoot\System32\cmd.exe" `
                    -ArgumentList "/s /c `"$($command.Line)`"" -Credential $credential `
                    -WorkingDirectory $env:SystemRoot -WindowStyle Hidden -PassThru
                # Read once now, or the exit code is not kept.
                $process.Handle | Out-Null
                if (-not $process.WaitForExit(60000)) { throw 'does not end' }
                $code = $process.ExitCode
                Write-Check "An ordinary user $($command.Name)" (($code -eq 0) -eq $command.Good) `
                    "exit code $code"
            }
        }
    } finally {
        Remove-LocalUser -Name $user
        Get-CimInstance -ClassName Win32_UserProfile |
            Where-Object { $_.LocalPath -like "*\$user*" } | Remove-CimInstance -ErrorAction SilentlyContinue
    }
}

# The ordinary user has asked it to stop, or else we do. The service ends its process without reporting
# that it has stopped; the manager is to notice, and to say 1067.
function Test-EndOfService([int]$processId) {
    if ((Get-Service -Name $service).Status -ne 'Stopped') {
        & "$env:SystemRoot\System32\sc.exe" stop $service | Out-Null
    }
    $gone = Wait-Until 30 { $null -eq (Get-Process -Id $processId -ErrorAction SilentlyContinue) }
    Write-Check 'The process ends after a stop' $gone "process $processId"
    $stopped = Wait-Until 10 { (Get-Service -Name $service).Status -eq 'Stopped' }
    Write-Check 'The manager notices' $stopped "state $((Get-ServiceRecord).State)"
    $code = (Get-ServiceRecord).ExitCode
    Write-Check 'The manager says 1067, the process ended unexpectedly' ($code -eq 1067) "exit code $code"
    $entry = Get-WinEvent -FilterHashtable @{ LogName = 'System'; ProviderName = 'Service Control Manager'
        StartTime = (Get-Date).AddMinutes(-2) } -ErrorAction SilentlyContinue |
        Where-Object { $_.Message -like '*Orva Accelerator Service*' } | Select-Object -First 1
    if ($entry) { Write-Report "NOTE  the system log says: $($entry.Id) $($entry.Message)" }
}

# The library that lacks a function: a message box on the service's own desktop, which nobody sees,
# and no answer until somebody ends the process.
function Test-MessageBox {
    $processId = [int](Get-ServiceRecord).ProcessId
    $result = Invoke-Program $orvactl 'init --channel-id 1 --channel-name name --timeout 5s' 30
    Write-Check 'No answer while the message box is up' ($result.Code -ne 0) `
        "exit code $($result.Code): $($result.Text)"
    $process = Get-Process -Id $processId -ErrorAction SilentlyContinue
    Write-Check 'The service waits for its message box' ($null -ne $process) "process $processId"
    if ($process) {
        Write-Check 'The box is on the desktop of the services, session 0' ($process.SessionId -eq 0) `
            "session $($process.SessionId)"
    }
}

function Invoke-OwnChecks {
    try {
        Install-ForChecks 'accel_sdk\sdk_x64\OpenKernel.dll'
        Start-Listener | Out-Null
        $processId = [int](Get-ServiceRecord).ProcessId
        Invoke-Check 'Service security' { Test-ServiceSecurity }
        Invoke-Check 'Accepted controls' { Test-AcceptedControls }
        Invoke-Check 'Request pipe' { Test-PipeSecurity $requestPipe }
        Invoke-Check 'Push pipe' { Test-PipeSecurity $pushPipe }
        Invoke-Check 'Ordinary user' { Test-OrdinaryUser }
        Invoke-Check 'End of the service' { Test-EndOfService $processId }
    } catch {
        Write-Check 'Installing for the checks' $false $_.Exception.Message
    } finally { Remove-AfterChecks }

    try {
        Install-ForChecks 'variants\OpenKernelWithoutLastName.dll'
        Start-Listener | Out-Null
        Invoke-Check 'Message box' { Test-MessageBox }
    } catch {
        Write-Check 'Installing for the message box' $false $_.Exception.Message
    } finally { Remove-AfterChecks }
}

# ---- Main --------------------------------------------------------------------------------------

$identity = New-Object Security.Principal.WindowsPrincipal ([Security.Principal.WindowsIdentity]::GetCurrent())
if (-not $identity.IsInRole([Security.Principal.WindowsBuiltInRole]::Administrator)) {
    Write-Host 'Start this from an elevated prompt.'
    exit 2
}
if (Test-Registered) {
    Write-Host "The service $service is registered on this PC. Remove it first."
    exit 2
}

Set-Content -Path $report -Value 'Acceptance report of the Orva Accelerator Service' -Encoding UTF8
$system = Get-CimInstance -ClassName Win32_OperatingSystem
Write-Report "$($system.Caption) $($system.Version), $($system.OSArchitecture)"
Write-Report "Service $((Get-Item (Join-Path $bin "$service.exe")).VersionInfo.ProductVersion)"
Write-Report "Begun $((Get-Date).ToString('u'))"

if (-not $SkipTests) { Invoke-Check 'Tests' { Invoke-Tests } }
Write-Report '-- What only real Windows can show'
Invoke-OwnChecks

Write-Report ''
Write-Report 'By hand, after this: install the package, start the service, keep "orvactl watch" running, and'
Write-Report 'restart the PC. It must not wait for the service. Afterwards "orvactl status" works again when'
Write-Report 'the service has been started.'
Write-Report ''
Write-Report "Ended $((Get-Date).ToString('u')): $script:passed passed, $script:failed failed"
if ($script:failed -gt 0) { exit 1 }
exit 0

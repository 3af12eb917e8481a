# What only real Windows shows of the service. Part of acceptance.ps1.

# Only administrators can write here, as in a real installation.
$folder = Join-Path $env:ProgramFiles 'Orva Acceptance'
$executable = Join-Path $folder "$service.exe"
$orvactl = Join-Path $folder 'orvactl.exe'
$library = Join-Path $folder 'accel_sdk\sdk_x64\OpenKernel.dll'

function Install-ForChecks([string]$libraryFile) {
    [void](New-Item -ItemType Directory -Force -Path (Split-Path -Parent $library))
    Copy-Item -LiteralPath (Join-Path $bin "$service.exe") $executable
    Copy-Item -LiteralPath (Join-Path $bin 'orvactl.exe') $orvactl
    Copy-Item -LiteralPath (Join-Path $bin $libraryFile) $library
    $result = Invoke-Program $executable 'install' 30
    if ($result.Code -ne 0) { throw ('install: ' + (Format-Outcome $result)) }
    Start-Service -Name $service
    (Get-Service -Name $service).WaitForStatus('Running', [TimeSpan]::FromSeconds(30))
    # Without a client the service stops itself after some seconds, so one listens.
    [void](Start-Process -FilePath $orvactl -ArgumentList 'watch' -WindowStyle Hidden -PassThru)
}

# Takes away what Install-ForChecks has made, and nothing else: acceptance.ps1 has refused to start
# unless the folder and the registration were absent.
function Remove-AfterChecks {
    Get-Process -Name 'orvactl' -ErrorAction SilentlyContinue |
        Where-Object { $_.Path -eq $orvactl } | Stop-Process -Force -ErrorAction SilentlyContinue
    $processId = Get-ServiceProcessId
    if (Test-Registered) {
        [void](Invoke-Program (Join-Path $bin "$service.exe") 'uninstall' 60)
    }
    # One that waits for its message box does not end by itself.
    if ($processId -ne 0 -and (Test-ServiceProcess $processId)) {
        [void](Invoke-Program "$env:SystemRoot\System32\taskkill.exe" "/F /PID $processId" 30)
    }
    $gone = Wait-Until 30 { -not (Test-Registered) }
    if (-not $gone) { Add-Entry 'failed' 'The registration goes away' 'gone' 'still there: close all windows that show services' }
    # A process that has just ended may keep its file for a moment.
    $empty = Wait-Until 10 {
        if (Test-Path -LiteralPath $folder) { Remove-Item -Recurse -Force -LiteralPath $folder -ErrorAction SilentlyContinue }
        -not (Test-Path -LiteralPath $folder)
    }
    if (-not $empty) { Add-Entry 'failed' 'The folder of the checks goes away' 'gone' $folder }
}

function Get-ServiceRecord {
    return Get-CimInstance -ClassName Win32_Service -Filter "Name='$service'"
}

function Get-ServiceProcessId {
    $record = Get-ServiceRecord
    if ($null -eq $record) { return 0 }
    return [int]$record.ProcessId
}

# Process ids are used again, hence the name.
function Test-ServiceProcess([int]$processId) {
    $process = Get-Process -Id $processId -ErrorAction SilentlyContinue
    return ($null -ne $process -and $process.ProcessName -eq $service)
}

# Each entry of an access list as type, flags, rights and account: the system spells the same rights in
# several ways.
function Get-AccessEntries([string]$sddl) {
    $descriptor = New-Object System.Security.AccessControl.RawSecurityDescriptor $sddl
    if ($null -eq $descriptor.DiscretionaryAcl) { return 'everybody may do everything' }
    $entries = foreach ($entry in $descriptor.DiscretionaryAcl) {
        '{0} {1} 0x{2:x} {3}' -f $entry.AceType, $entry.AceFlags, $entry.AccessMask, $entry.SecurityIdentifier.Value
    }
    return $entries -join '; '
}

function Test-ServiceSecurity {
    $expected = Get-AccessEntries 'D:(A;;CCLCSWRPWPDTLOCRRC;;;SY)(A;;CCDCLCSWRPWPDTLOCRSDRCWDWO;;;BA)(A;;0x20035;;;AU)'
    $result = Invoke-Program "$env:SystemRoot\System32\sc.exe" "sdshow $service" 30
    # The audit list behind it is the system's.
    $seen = Get-AccessEntries (($result.Text -split 'S:\(')[0].Trim())
    Add-Check 'The service security reads back as it was set' ($seen -eq $expected) $expected "$seen; $($result.Text)"
}

function Test-AcceptedControls {
    $controller = Get-Service -Name $service
    Add-Check 'The stop control is accepted' $controller.CanStop 'True' "$($controller.CanStop)"
    Add-Check 'The shutdown control is accepted' $controller.CanShutdown 'True' "$($controller.CanShutdown)"
    Add-Check 'Pause and continue are not accepted' (-not $controller.CanPauseAndContinue) 'False' `
        "$($controller.CanPauseAndContinue)"
}

function Test-PipeSecurity([string]$name) {
    $pipe = New-Object System.IO.Pipes.NamedPipeClientStream '.', $name, 'InOut'
    try {
        $pipe.Connect(5000)
        $seen = Get-AccessEntries ($pipe.GetAccessControl().GetSecurityDescriptorSddlForm('Access'))
    } finally { $pipe.Dispose() }
    # Generic read and write, as they are of a file.
    $expected = Get-AccessEntries 'D:(A;;0x12019f;;;AU)'
    Add-Check "Pipe $name is open to Authenticated Users only" ($seen -eq $expected) $expected $seen
}

# Started by full path from the installed folder, as support would ask for it.
function Test-Doctor {
    $result = Invoke-Program $orvactl 'doctor' 60
    Add-Check 'The doctor finds nothing wrong with the installed service' ($result.Code -eq 0) `
        'exit code 0, no warning and no problem' (Format-Outcome $result)
}

# The ordinary user has asked it to stop, or else we do. The service ends its process without reporting
# that it has stopped; the manager is to notice, and to say 1067.
function Test-EndOfService([int]$processId) {
    if ((Get-Service -Name $service).Status -ne 'Stopped') {
        [void](Invoke-Program "$env:SystemRoot\System32\sc.exe" "stop $service" 30)
    }
    $gone = Wait-Until 30 { -not (Test-ServiceProcess $processId) }
    Add-Check 'The process ends after a stop' $gone 'ended within 30 s' "process $processId ended: $gone"
    $stopped = Wait-Until 10 { (Get-Service -Name $service).Status -eq 'Stopped' }
    $record = Get-ServiceRecord
    Add-Check 'The manager notices' $stopped 'Stopped' "$($record.State)"
    Add-Check 'The manager says that the process ended unexpectedly' ($record.ExitCode -eq 1067) '1067' `
        "$($record.ExitCode)"
    $entry = Get-WinEvent -FilterHashtable @{ LogName = 'System'; ProviderName = 'Service Control Manager'
        StartTime = (Get-Date).AddMinutes(-2) } -ErrorAction SilentlyContinue |
        Where-Object { "$($_.Message)" -like '*Orva Accelerator Service*' } | Select-Object -First 1
    if ($null -ne $entry) { Add-Entry 'note' 'The system log' '' "$($entry.Id) $($entry.Message)" }
}

# The library that lacks a function: a message box on the services' own desktop, where nobody sees it and
# no window of it can be found from here, and no answer until somebody ends the process.
function Test-MessageBox {
    $processId = Get-ServiceProcessId
    $result = Invoke-Program $orvactl 'init --channel-id 1 --channel-name name --timeout 5s' 30
    Add-Check 'No answer while the message box is up' ($null -ne $result.Code -and $result.Code -ne 0) `
        'an exit code other than 0' (Format-Outcome $result)
    # By its name too: without a process the manager says 0, which is a process of the system.
    $waits = Test-ServiceProcess $processId
    Add-Check 'The service waits for its message box' $waits 'its process is there' "process $processId is it: $waits"
    if ($waits) {
        $session = (Get-Process -Id $processId).SessionId
        Add-Check 'The box is on the desktop of the services' ($session -eq 0) 'session 0' "session $session"
    }
}

# Installs with a library, does the checks, and clears up whatever happened in between.
function Invoke-WithService([string]$libraryFile, [scriptblock]$checks) {
    try {
        Install-ForChecks $libraryFile
        & $checks
    } catch {
        Add-Entry 'failed' "The service with $libraryFile" 'installed and running' $_.Exception.Message
    } finally {
        try { Remove-AfterChecks } catch { Add-Entry 'failed' 'Clearing up' 'no exception' $_.Exception.Message }
    }
}

function Invoke-ServiceChecks {
    Invoke-WithService 'accel_sdk\sdk_x64\OpenKernel.dll' {
        $processId = Get-ServiceProcessId
        Invoke-Check 'Service security' { Test-ServiceSecurity }
        Invoke-Check 'Accepted controls' { Test-AcceptedControls }
        Invoke-Check 'Request pipe' { Test-PipeSecurity 'OrvaAccelerator_Request' }
        Invoke-Check 'Push pipe' { Test-PipeSecurity 'OrvaAccelerator_Push' }
        Invoke-Check 'Doctor' { Test-Doctor }
        Invoke-Check 'Ordinary user' { Test-OrdinaryUser }
        Invoke-Check 'End of the service' { Test-EndOfService $processId }
    }
    Invoke-WithService 'variants\OpenKernelWithoutLastName.dll' {
        Invoke-Check 'Message box' { Test-MessageBox }
    }
}

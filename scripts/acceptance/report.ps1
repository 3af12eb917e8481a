# The report, and running programs. Part of acceptance.ps1.

$script:entries = New-Object System.Collections.ArrayList

function Get-UtcTime {
    return (Get-Date).ToUniversalTime().ToString('u')
}

function Start-Report {
    Set-Content -LiteralPath $reportText -Value 'Acceptance report of the Orva Accelerator Service' -Encoding UTF8
    Save-ReportAsJson 'not finished'
}

function Write-Line([string]$text) {
    Write-Host $text
    Add-Content -LiteralPath $reportText -Value $text -Encoding UTF8
}

# verdict: passed, failed, skipped or note. Both forms of the report are complete after each entry, so
# that a PC that goes down in the middle leaves what was seen up to then.
function Add-Entry([string]$verdict, [string]$name, [string]$expected, [string]$seen) {
    [void]$script:entries.Add((New-Object PSObject -Property @{
        verdict = $verdict; name = $name; expected = $expected; seen = $seen }))
    Write-Line ('{0,-8} {1}' -f $verdict.ToUpperInvariant(), $name)
    if ($expected -ne '') { Write-Line "           expected: $expected" }
    Write-Line "           seen:     $seen"
    Save-ReportAsJson 'not finished'
}

function Add-Check([string]$name, [bool]$ok, [string]$expected, [string]$seen) {
    if ($ok) { $verdict = 'passed' } else { $verdict = 'failed' }
    Add-Entry $verdict $name $expected $seen
}

# Whatever is thrown inside is a failure of this check and of no other.
function Invoke-Check([string]$name, [scriptblock]$check) {
    try { & $check } catch {
        Add-Entry 'failed' $name 'no exception' ("{0} (line {1})" -f $_.Exception.Message, $_.InvocationInfo.ScriptLineNumber)
    }
}

function Get-Count([string]$verdict) {
    return @($script:entries | Where-Object { $_.verdict -eq $verdict }).Count
}

function Save-ReportAsJson([string]$state) {
    $report = New-Object PSObject -Property @{
        state = $state; machine = $script:machine; passed = (Get-Count 'passed'); failed = (Get-Count 'failed')
        skipped = (Get-Count 'skipped'); entries = @($script:entries) }
    # Without a byte order mark, which not every reader of JSON takes.
    [IO.File]::WriteAllText($reportJson, (ConvertTo-Json -InputObject $report -Depth 4))
}

# Runs a program, as another user if there is a credential; gives its exit code and what it wrote. After
# the limit it is ended together with what it has started, and the exit code is empty.
function Invoke-Program([string]$program, [string]$arguments, [int]$seconds, $credential = $null) {
    $start = New-Object System.Diagnostics.ProcessStartInfo
    $start.FileName = $program
    $start.Arguments = $arguments
    $start.UseShellExecute = $false
    $start.RedirectStandardOutput = $true
    $start.RedirectStandardError = $true
    $start.WorkingDirectory = $kit
    if ($null -ne $credential) {
        $account = $credential.GetNetworkCredential()
        $start.UserName = $account.UserName
        $start.Domain = $account.Domain
        $start.Password = $credential.Password
        $start.CreateNoWindow = $true
        # The kit may be in a folder of ours alone.
        $start.WorkingDirectory = $env:SystemRoot
    }
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
        [void]$kill.WaitForExit(30000)
    }
    # A process that it left behind may hold the pipes.
    $text = ''
    if ($output.Wait(5000)) { $text += $output.Result }
    if ($errors.Wait(5000)) { $text += $errors.Result }
    return New-Object PSObject -Property @{ Code = $code; Text = $text.Trim() }
}

# How an outcome of Invoke-Program is put down. An empty exit code means that the time was up.
function Format-Outcome($result) {
    if ($null -eq $result.Code) { $what = 'did not end in time' } else { $what = "exit code $($result.Code)" }
    if ($result.Text -ne '') { $what += ': ' + $result.Text }
    return $what
}

function Wait-Until([int]$seconds, [scriptblock]$condition) {
    $deadline = (Get-Date).AddSeconds($seconds)
    while (-not (& $condition)) {
        if ((Get-Date) -gt $deadline) { return $false }
        Start-Sleep -Milliseconds 100
    }
    return $true
}

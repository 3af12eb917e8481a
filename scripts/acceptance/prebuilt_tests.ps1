# The prebuilt tests, each in a process of its own. Part of acceptance.ps1.

# What a test looks for that real Windows has elsewhere; checked in another way in service_checks.ps1.
$notHere = @{
    '^MissingFunction\.' = 'looks for a window that is on the desktop of the services, session 0'
}

function Get-TestPrograms {
    return @(Get-ChildItem -LiteralPath (Join-Path $bin 'tests') -Filter '*_tests.exe' | Sort-Object Name)
}

function Get-TestNames([string]$program) {
    $suite = ''
    $result = Invoke-Program $program '--gtest_list_tests' 60
    if ($result.Code -ne 0) { throw ('does not list its tests: ' + (Format-Outcome $result)) }
    foreach ($line in ($result.Text -split "`r?`n")) {
        if ($line -match '^(\S+\.)(\s+#.*)?$') { $suite = $Matches[1] }
        elseif ($suite -ne '' -and $line -match '^  (\S+)') { $suite + $Matches[1] }
    }
}

function Invoke-PrebuiltTest([string]$program, [string]$name) {
    foreach ($pattern in $notHere.Keys) {
        if ($name -match $pattern) {
            Add-Entry 'skipped' $name '' $notHere[$pattern]
            return
        }
    }
    $result = Invoke-Program $program "--gtest_color=no --gtest_filter=$name" 300
    # A filter that matches nothing ends with 0 as well, and so does a test that skips itself.
    if ($result.Code -eq 0 -and $result.Text -match '\[  SKIPPED \] 1 test') {
        Add-Entry 'skipped' $name '' $result.Text
    } elseif ($result.Code -eq 0 -and $result.Text -match '\[  PASSED  \] 1 test') {
        Add-Entry 'passed' $name 'exit code 0 and one test passed' 'the same'
    } else {
        Add-Entry 'failed' $name 'exit code 0 and one test passed' (Format-Outcome $result)
    }
}

function Invoke-TestsOf([string]$program) {
    $names = @(Get-TestNames $program)
    if ($names.Count -eq 0) { Add-Entry 'failed' $program 'a list of tests' 'none' }
    foreach ($name in $names) {
        Invoke-Check $name { Invoke-PrebuiltTest $program $name }
    }
}

function Invoke-PrebuiltTests {
    $env:ORVA_VECTORS = (Join-Path $kit 'vectors') -replace '\\', '/'
    $programs = @(Get-TestPrograms)
    Add-Check 'Test programs are in the kit' ($programs.Count -gt 0) 'at least 1' "$($programs.Count)"
    foreach ($program in $programs) {
        Write-Line "-- $($program.Name)"
        # One that cannot be started does not keep the others from it.
        Invoke-Check $program.Name { Invoke-TestsOf $program.FullName }
    }
}

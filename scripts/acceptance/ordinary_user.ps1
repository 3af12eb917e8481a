# What an account without any rights of its own may and may not do. Part of acceptance.ps1.

$user = 'orva_acceptance'

function Test-UserExists {
    return $null -ne (Get-LocalUser -Name $user -ErrorAction SilentlyContinue)
}

function New-Password {
    $bytes = New-Object byte[] 18
    $random = [System.Security.Cryptography.RandomNumberGenerator]::Create()
    try { $random.GetBytes($bytes) } finally { $random.Dispose() }
    return 'Aa1!' + [Convert]::ToBase64String($bytes)
}

# PowerShell rather than cmd tries to write: cmd says 1 whatever the reason. 5 is "access denied"; any
# other failure would prove nothing.
function Get-WriteCommand([string]$file) {
    $code = "try { [IO.File]::Create('$file').Dispose(); exit 0 } " +
        'catch { if ($_.Exception.GetBaseException() -is [UnauthorizedAccessException]) { exit 5 } else { exit 1 } }'
    $encoded = [Convert]::ToBase64String([Text.Encoding]::Unicode.GetBytes($code))
    return "$env:SystemRoot\System32\WindowsPowerShell\v1.0\powershell.exe -NoProfile -NonInteractive -EncodedCommand $encoded"
}

# In this order: the last one ends the service.
function Get-UserCommands {
    $sc = "$env:SystemRoot\System32\sc.exe"
    return @(
        @{ Name = 'may talk to the service'; Line = "`"$orvactl`" status"; Code = 0 },
        @{ Name = 'may query the service'; Line = "$sc query $service"; Code = 0 },
        @{ Name = 'may not point the service elsewhere'; Line = "$sc config $service binPath= C:\elsewhere.exe"; Code = 5 },
        @{ Name = 'may not disable the service'; Line = "$sc config $service start= disabled"; Code = 5 },
        @{ Name = 'may not delete the service'; Line = "$sc delete $service"; Code = 5 },
        @{ Name = 'may not write into its folder'; Line = (Get-WriteCommand "$folder\planted.dll"); Code = 5 },
        @{ Name = 'may not replace the library'; Line = (Get-WriteCommand $library); Code = 5 },
        @{ Name = 'may stop the service'; Line = "$sc stop $service"; Code = 0 }
    )
}

function Invoke-AsUser($credential, $command) {
    # Not with Start-Process, which looks for the process after it was started: some end at once.
    $result = Invoke-Program "$env:SystemRoot\System32\cmd.exe" "/s /c `"$($command.Line)`"" 60 $credential
    Add-Check "An ordinary user $($command.Name)" ($result.Code -eq $command.Code) `
        "exit code $($command.Code)" (Format-Outcome $result)
}

function Remove-OrdinaryUser {
    # By its identifier: a folder of that name may be somebody else's.
    $profiles = "SID='$((Get-LocalUser -Name $user).SID.Value)'"
    Remove-LocalUser -Name $user
    # It can be in use for a moment after the user's last program.
    $gone = Wait-Until 30 {
        Get-CimInstance -ClassName Win32_UserProfile -Filter $profiles |
            Remove-CimInstance -ErrorAction SilentlyContinue
        $null -eq (Get-CimInstance -ClassName Win32_UserProfile -Filter $profiles)
    }
    if (-not $gone) { Add-Entry 'failed' 'The profile of the ordinary user goes away' 'gone' 'still there' }
}

function Test-OrdinaryUser {
    $password = ConvertTo-SecureString (New-Password) -AsPlainText -Force
    [void](New-LocalUser -Name $user -Password $password -AccountNeverExpires)
    try {
        # Users, whatever the group is called here; without it nobody may log on.
        Add-LocalGroupMember -SID 'S-1-5-32-545' -Member $user
        $credential = New-Object System.Management.Automation.PSCredential "$env:COMPUTERNAME\$user", $password
        foreach ($command in (Get-UserCommands)) {
            Invoke-Check "An ordinary user $($command.Name)" { Invoke-AsUser $credential $command }
        }
    } finally {
        Invoke-Check 'Removing the ordinary user' { Remove-OrdinaryUser }
    }
}

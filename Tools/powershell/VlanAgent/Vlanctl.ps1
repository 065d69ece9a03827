# Running vlanctl: where it is, how words reach it, and what it answers.

$script:ExitStatus = @{
    Done = 0; Refused = 1; Usage = 2; NoSuite = 3; Partly = 4; Locked = 5; Restart = 6; NotLoaded = 7; Findings = 8
}

# What $env:VLANCTL names; else the one in the path; else the one that was installed with this module.
function Find-Vlanctl {
    if ($env:VLANCTL) { return $env:VLANCTL }
    $found = Get-Command -Name 'vlanctl' -CommandType Application -ErrorAction SilentlyContinue | Select-Object -First 1
    if ($found) { return $found.Source }
    $installed = Join-Path $PSScriptRoot '..\..\bin\vlanctl.exe'
    if (Test-Path -LiteralPath $installed) { return (Resolve-Path -LiteralPath $installed).ProviderPath }
    $message = 'vlanctl is not found: put its folder into PATH, or its path into the environment variable VLANCTL'
    $exception = New-Object System.IO.FileNotFoundException $message
    throw (New-Object System.Management.Automation.ErrorRecord $exception, 'VlanctlNotFound', 'ObjectNotFound', 'vlanctl')
}

# A word as the programs of Windows read it from their command line: backslashes count only before a quote.
function ConvertTo-CommandLineWord([string] $Word) {
    if ($Word -ne '' -and $Word -notmatch '[\s"]') { return $Word }
    '"' + ($Word -replace '(\\*)"', '$1$1\"' -replace '(\\+)$', '$1$1') + '"'
}

# "3 of 40, 12 s: create 12 Lab on Port A" on standard error is progress; all else is told with -Verbose.
function Show-ErrorLine([string] $Line) {
    if ($Line -match '^(\d+) of (\d+), [^:]+: (.*)$') {
        $percent = [int](100 * ([int]$Matches[1] - 1) / [int]$Matches[2])
        Write-Progress -Activity 'vlanctl' -Status ($Matches[1] + ' of ' + $Matches[2]) -CurrentOperation $Matches[3] -PercentComplete $percent
    }
    elseif ($Line) { Write-Verbose $Line }
}

# Runs vlanctl; an object with ExitStatus and Json, the parsed standard output ($null when it is none). A host that is asked
# about nothing waits for nobody: standard input is empty.
function Invoke-Vlanctl([string[]] $Words) {
    $start = New-Object System.Diagnostics.ProcessStartInfo
    $start.FileName = Find-Vlanctl
    $start.Arguments = ($Words | ForEach-Object { ConvertTo-CommandLineWord $_ }) -join ' '
    $start.UseShellExecute = $false
    $start.CreateNoWindow = $true
    $start.RedirectStandardInput = $true
    $start.RedirectStandardOutput = $true
    $start.RedirectStandardError = $true
    $start.StandardOutputEncoding = $start.StandardErrorEncoding = New-Object System.Text.UTF8Encoding
    Write-Debug ($start.FileName + ' ' + $start.Arguments)
    $process = [System.Diagnostics.Process]::Start($start)
    try {
        $process.StandardInput.Close()
        $output = $process.StandardOutput.ReadToEndAsync() # both streams are read at a time: a full one would stop it
        while ($null -ne ($line = $process.StandardError.ReadLine())) { Show-ErrorLine $line }
        $text = $output.Result
        $process.WaitForExit()
        $json = $null
        if ($text.Trim()) { $json = ConvertFrom-VlanctlJson $text }
        [pscustomobject]@{ ExitStatus = $process.ExitCode; Json = $json }
    }
    finally {
        Write-Progress -Activity 'vlanctl' -Completed
        $process.Dispose()
    }
}

# An array stays one, also one of a single element or of none, in all editions.
function ConvertFrom-VlanctlJson([string] $Text) {
    $json = ConvertFrom-Json -InputObject ('{"value":' + $Text + '}')
    , $json.value
}

# What an error of vlanctl is to PowerShell, by exit status.
function Get-ErrorCategory([int] $ExitStatus) {
    switch ($ExitStatus) {
        $script:ExitStatus.Usage { 'InvalidArgument' }
        $script:ExitStatus.NoSuite { 'ResourceUnavailable' }
        $script:ExitStatus.Locked { 'ResourceBusy' }
        default { 'InvalidOperation' }
    }
}

# Names of errors that say more than the exit status.
$script:Categories = @{
    unknownName = 'ObjectNotFound'; emptyName = 'InvalidArgument'; ambiguousName = 'InvalidArgument'; idInUse = 'ResourceExists'
    nameInUse = 'ResourceExists'; idTooLarge = 'InvalidArgument'; idNotValid = 'InvalidArgument'; notConfirmed = 'OperationStopped'
    interrupted = 'OperationStopped'; settingValue = 'InvalidArgument'; notThere = 'ObjectNotFound'
}

# An error record of one of vlanctl's errors: its id is the error's stable name, its message says the code, what it means and
# what to do.
function New-VlanctlError($Fault, [int] $ExitStatus, $Target) {
    $message = $Fault.meaning
    if ($Fault.code) { $message = $Fault.code + ': ' + $message }
    if ($Fault.advice) { $message += '. ' + $Fault.advice }
    $exception = New-Object System.InvalidOperationException $message
    foreach ($member in $Fault.PSObject.Properties) { $exception.Data[$member.Name] = $member.Value }
    $exception.Data['exitStatus'] = $ExitStatus
    $category = Get-ErrorCategory $ExitStatus
    if ($script:Categories.ContainsKey($Fault.name)) { $category = $script:Categories[$Fault.name] }
    New-Object System.Management.Automation.ErrorRecord $exception, $Fault.name, $category, $Target
}

function Test-Member($Object, [string] $Name) {
    $null -ne $Object -and $null -ne $Object.PSObject.Properties[$Name]
}

# Runs vlanctl for a cmdlet. An error that ends the command is written as one of the cmdlet's; nothing is returned then.
function Invoke-Verb($Cmdlet, [string[]] $Words, $Target) {
    $answer = Invoke-Vlanctl $Words
    if (Test-Member $answer.Json 'error') {
        $Cmdlet.WriteError((New-VlanctlError $answer.Json.error $answer.ExitStatus $Target))
        return
    }
    if ($null -eq $answer.Json) {
        $fault = [pscustomobject]@{ name = 'NoAnswer'; code = ''; meaning = "vlanctl ended with $($answer.ExitStatus) and no answer"; advice = '' }
        $Cmdlet.WriteError((New-VlanctlError $fault $answer.ExitStatus $Target))
        return
    }
    $answer
}

function Add-TypeName($Objects, [string] $Name) {
    foreach ($object in $Objects) {
        if ($null -eq $object) { continue }
        $object.PSObject.TypeNames.Insert(0, "VlanAgent.$Name")
        $object
    }
}

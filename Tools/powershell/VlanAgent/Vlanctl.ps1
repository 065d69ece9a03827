# Running vlanctl: where it is, how words reach it, and what it answers.

$script:ExitStatus = @{
    Done = 0; Refused = 1; Usage = 2; NoSuite = 3; Partly = 4; Locked = 5; Restart = 6; NotLoaded = 7; Findings = 8
}

function New-NotFoundError([string] $Message, [string] $Id, $Target) {
    $exception = New-Object System.Management.Automation.ItemNotFoundException $Message
    New-Object System.Management.Automation.ErrorRecord $exception, $Id, 'ObjectNotFound', $Target
}

# What $env:VLANCTL names; else the one in the path; else the one that was installed with this module.
function Find-Vlanctl {
    $candidates = @($env:VLANCTL)
    if (-not $env:VLANCTL) {
        $candidates = @(Get-Command -Name 'vlanctl' -CommandType Application -ErrorAction SilentlyContinue | ForEach-Object { $_.Source })
        $candidates += Join-Path $PSScriptRoot '..\..\bin\vlanctl.exe'
    }
    foreach ($candidate in $candidates) {
        if (Test-Path -LiteralPath $candidate -PathType Leaf) { return (Resolve-Path -LiteralPath $candidate).ProviderPath }
    }
    $message = 'vlanctl is not found: put its folder into PATH, or its path into the environment variable VLANCTL'
    throw (New-NotFoundError $message 'vlanctlNotFound' $candidates[-1])
}

# A word as the programs of Windows read it from their command line: backslashes count only before a quote.
function ConvertTo-CommandLineWord([string] $Word) {
    if ($Word -ne '' -and $Word -notmatch '[\s"]') { return $Word }
    '"' + ($Word -replace '(\\*)"', '$1$1\"' -replace '(\\+)$', '$1$1') + '"'
}

# An option and its value in one word, so that a value is never taken for another option.
function Get-Option([string] $Name, $Values) {
    foreach ($value in $Values) { "--$Name=$value" }
}

# "3 of 40, 12 s: create 12 Lab on Port A" on standard error is progress, as is whom it waits for; all else is told with -Verbose.
function Show-ErrorLine([string] $Line) {
    if ($Line -match '^(\d+) of (\d+), [^:]+: (.*)$') {
        $percent = [int](100 * ([int]$Matches[1] - 1) / [int]$Matches[2])
        $status = $Matches[1] + ' of ' + $Matches[2]
        Write-Progress -Activity 'vlanctl' -Status $status -CurrentOperation $Matches[3] -PercentComplete $percent
    }
    elseif ($Line -match '^vlanctl: (waiting: .*)$') { Write-Progress -Activity 'vlanctl' -Status $Matches[1] }
    elseif ($Line) { Write-Verbose $Line }
}

function Get-StartInfo([string[]] $Words) {
    $start = New-Object System.Diagnostics.ProcessStartInfo
    $start.FileName = Find-Vlanctl
    $start.Arguments = ($Words | ForEach-Object { ConvertTo-CommandLineWord $_ }) -join ' '
    $start.UseShellExecute = $false
    # On the console of PowerShell, where there is one: Ctrl-C reaches it, and it stops between two VLANs.
    $start.CreateNoWindow = $Host.Name -ne 'ConsoleHost'
    $start.RedirectStandardInput = $start.RedirectStandardOutput = $start.RedirectStandardError = $true
    $start.StandardOutputEncoding = $start.StandardErrorEncoding = New-Object System.Text.UTF8Encoding
    $start
}

# Until the program has ended, and not until its streams do: a process that it has started, and that stays, may have them, too.
function Show-ErrorOutput($Process) {
    $line = $Process.StandardError.ReadLineAsync()
    do {
        $hasEnded = $Process.HasExited
        while ($line.Wait(50)) {
            if ($null -eq $line.Result) { return }
            Show-ErrorLine $line.Result
            $line = $Process.StandardError.ReadLineAsync()
        }
    } until ($hasEnded)
}

# Runs vlanctl; an object with ExitStatus and Json, the parsed standard output ($null when it is empty). Nobody is asked
# anything there: standard input is empty.
function Invoke-Vlanctl([string[]] $Words) {
    $start = Get-StartInfo $Words
    Write-Debug ($start.FileName + ' ' + $start.Arguments)
    $process = [System.Diagnostics.Process]::Start($start)
    try {
        $process.StandardInput.Close()
        $output = $process.StandardOutput.ReadToEndAsync() # both streams are read at a time: a full one would stop it
        Show-ErrorOutput $process
        $text = $output.Result
        $process.WaitForExit()
        $json = $null
        if ($text.Trim()) { $json = ConvertFrom-VlanctlJson $text }
        [pscustomobject]@{ ExitStatus = $process.ExitCode; Json = $json }
    }
    finally {
        Write-Progress -Activity 'vlanctl' -Status 'done' -Completed
        $process.WaitForExit() # after Ctrl-C, too: what it has begun is finished before anything else is
        $process.Dispose()
    }
}

# An array stays one, also one of a single element or of none, in all editions.
function ConvertFrom-VlanctlJson([string] $Text) {
    $json = ConvertFrom-Json -InputObject ('{"value":' + $Text + '}')
    , $json.value
}

function Test-Member($Object, [string] $Name) {
    $null -ne $Object -and $null -ne $Object.PSObject.Properties[$Name]
}

# Runs vlanctl for a cmdlet, which answers with JSON. An error that ends the command is written as one of the cmdlet's; nothing
# is returned then.
function Invoke-Verb($Cmdlet, [string[]] $Words, $Target) {
    try { $answer = Invoke-Vlanctl $Words }
    catch { $Cmdlet.ThrowTerminatingError($_) }
    if (Test-Member $answer.Json 'error') {
        $Cmdlet.WriteError((New-VlanctlError $answer.Json.error $answer.ExitStatus $Target))
        return
    }
    if ($null -eq $answer.Json -and $answer.ExitStatus -ne $script:ExitStatus.Done) {
        $Cmdlet.WriteError((New-OwnError 'noAnswer' "vlanctl ended with $($answer.ExitStatus) and no answer" $answer.ExitStatus $Target))
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

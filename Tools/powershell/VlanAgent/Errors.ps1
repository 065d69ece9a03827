# What an error of vlanctl is to PowerShell.

# By exit status.
function Get-StatusCategory([int] $ExitStatus) {
    switch ($ExitStatus) {
        $script:ExitStatus.Usage { 'InvalidArgument' }
        $script:ExitStatus.NoSuite { 'ResourceUnavailable' }
        $script:ExitStatus.Locked { 'ResourceBusy' }
        default { 'InvalidOperation' }
    }
}

# By name, where that says more than the exit status.
$script:Categories = @{}
foreach ($row in @(
        @('ObjectNotFound', 'unknownName', 'settingUnknown'),
        @('ResourceExists', 'idInUse', 'nameInUse'),
        @('LimitsExceeded', 'tooManyVlans', 'settingAboveParent'),
        @('DeviceError', 'driverNotLoaded', 'notLoaded'),
        @('OperationStopped', 'notConfirmed', 'interrupted'),
        @('InvalidArgument', 'emptyName', 'ambiguousName', 'nameEmpty', 'nameBeginsBlank', 'nameEndsBlank', 'nameTooLong', 'nameCharacter',
            'nameControl', 'nameDirection', 'nameIllFormed', 'idNotValid', 'idTooLarge', 'settingValue', 'settingTwice', 'settingHidden')
    )) {
    foreach ($name in $row[1..($row.Count - 1)]) { $script:Categories[$name] = $row[0] }
}

# The id of the record is the error's stable name; its message says the code, what it means and what to do.
function New-VlanctlError($Fault, [int] $ExitStatus, $Target) {
    $message = $Fault.meaning
    if ($Fault.code) { $message = $Fault.code + ': ' + $message }
    if ($Fault.advice) { $message += '. ' + $Fault.advice }
    $exception = New-Object System.InvalidOperationException $message
    foreach ($member in $Fault.PSObject.Properties) { $exception.Data[$member.Name] = $member.Value }
    $exception.Data['exitStatus'] = $ExitStatus
    $category = Get-StatusCategory $ExitStatus
    if ($script:Categories.ContainsKey($Fault.name)) { $category = $script:Categories[$Fault.name] }
    New-Object System.Management.Automation.ErrorRecord $exception, $Fault.name, $category, $Target
}

# One of the module's own.
function New-OwnError([string] $Name, [string] $Meaning, [int] $ExitStatus, $Target, [string] $Advice) {
    $fault = [pscustomobject]@{ name = $Name; code = ''; meaning = $Meaning; advice = $Advice }
    New-VlanctlError $fault $ExitStatus $Target
}

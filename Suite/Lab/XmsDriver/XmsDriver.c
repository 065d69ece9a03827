/* The lab's intermediate driver: a device that takes object identifier requests, checks them as a driver has to, and
   keeps each accepted one in its service key, where it can be looked at. */

#include <ntddk.h>

#define IOCTL_SET_OID CTL_CODE(FILE_DEVICE_NETWORK, 0x801, METHOD_BUFFERED, FILE_WRITE_ACCESS)

#define OID_NEW_VLAN 0xFF010109u
#define NEW_VLAN_SIZE 258u
#define NEW_VLAN_NAME_SIZE 256u
#define ADAPTER_CHARACTERS 40u
#define LAST_REQUEST 9999u

/* Shared with the suite's common library. */
struct oid_header
{
    WCHAR adapter[ADAPTER_CHARACTERS];
    ULONG oid;
    ULONG length;
};

static ULONG g_requests;

static NTSTATUS Complete(IRP* irp, NTSTATUS status)
{
    irp->IoStatus.Status = status;
    irp->IoStatus.Information = 0;
    IoCompleteRequest(irp, IO_NO_INCREMENT);
    return status;
}

static NTSTATUS NTAPI OpenOrClose(DEVICE_OBJECT* device, IRP* irp)
{
    UNREFERENCED_PARAMETER(device);
    return Complete(irp, STATUS_SUCCESS);
}

static BOOLEAN IsTerminated(const WCHAR* text, ULONG characters)
{
    ULONG index;
    for (index = 0; index < characters; ++index)
    {
        if (text[index] == 0)
            return TRUE;
    }
    return FALSE;
}

static NTSTATUS CheckRequest(const void* buffer, ULONG size)
{
    const struct oid_header* header = buffer;
    const UCHAR* data = (const UCHAR*)buffer + sizeof(*header);

    if (size < sizeof(*header) || header->length != size - sizeof(*header))
        return STATUS_INFO_LENGTH_MISMATCH;
    if (!IsTerminated(header->adapter, ADAPTER_CHARACTERS))
        return STATUS_INVALID_PARAMETER;
    if (header->oid != OID_NEW_VLAN)
        return STATUS_NOT_SUPPORTED;
    if (header->length != NEW_VLAN_SIZE)
        return STATUS_INFO_LENGTH_MISMATCH;
    if ((ULONG)(data[0] | (data[1] << 8)) > NEW_VLAN_NAME_SIZE)
        return STATUS_INVALID_PARAMETER;
    return STATUS_SUCCESS;
}

/* "0001", "0002", ... */
static void NameOfRequest(WCHAR (*name)[5], ULONG number)
{
    int index;
    for (index = 3; index >= 0; --index)
    {
        (*name)[index] = (WCHAR)(L'0' + number % 10);
        number /= 10;
    }
    (*name)[4] = 0;
}

static NTSTATUS OpenRequests(HANDLE* key)
{
    static WCHAR path[] =
        L"\\Registry\\Machine\\SYSTEM\\CurrentControlSet\\Services\\oXMSProtocol\\Parameters\\Requests";
    UNICODE_STRING name;
    OBJECT_ATTRIBUTES attributes;

    RtlInitUnicodeString(&name, path);
    InitializeObjectAttributes(&attributes, &name, OBJ_CASE_INSENSITIVE | OBJ_KERNEL_HANDLE, NULL, NULL);
    return ZwCreateKey(key, KEY_QUERY_VALUE | KEY_SET_VALUE, &attributes, 0, NULL, REG_OPTION_NON_VOLATILE, NULL);
}

static BOOLEAN HasRequest(HANDLE key, ULONG number)
{
    UNICODE_STRING value_name;
    WCHAR name[5];
    ULONG size;

    NameOfRequest(&name, number);
    RtlInitUnicodeString(&value_name, name);
    return ZwQueryValueKey(key, &value_name, KeyValueBasicInformation, NULL, 0, &size) != STATUS_OBJECT_NAME_NOT_FOUND;
}

/* The key outlives the driver, is emptied with the lab, and may have been written by another host of the driver: the
   next request follows those that are there. */
static ULONG CountRequests(HANDLE key)
{
    if (g_requests != 0 && !HasRequest(key, g_requests))
        g_requests = 0;
    while (g_requests < LAST_REQUEST && HasRequest(key, g_requests + 1))
        ++g_requests;
    return g_requests;
}

static NTSTATUS KeepRequest(void* buffer, ULONG size)
{
    UNICODE_STRING value_name;
    WCHAR name[5];
    HANDLE key;
    NTSTATUS status = OpenRequests(&key);

    if (!NT_SUCCESS(status))
        return status;
    g_requests = CountRequests(key) + 1;
    NameOfRequest(&name, g_requests);
    RtlInitUnicodeString(&value_name, name);
    status = ZwSetValueKey(key, &value_name, 0, REG_BINARY, buffer, size);
    ZwClose(key);
    return status;
}

static NTSTATUS NTAPI DeviceControl(DEVICE_OBJECT* device, IRP* irp)
{
    IO_STACK_LOCATION* stack = IoGetCurrentIrpStackLocation(irp);
    void* buffer = irp->AssociatedIrp.SystemBuffer;
    ULONG size = stack->Parameters.DeviceIoControl.InputBufferLength;
    NTSTATUS status;

    UNREFERENCED_PARAMETER(device);
    if (stack->Parameters.DeviceIoControl.IoControlCode != IOCTL_SET_OID)
        return Complete(irp, STATUS_INVALID_DEVICE_REQUEST);
    status = CheckRequest(buffer, size);
    if (NT_SUCCESS(status))
        status = KeepRequest(buffer, size);
    return Complete(irp, status);
}

static void NTAPI Unload(DRIVER_OBJECT* driver)
{
    UNICODE_STRING link;
    if (driver->DeviceObject == NULL)
        return;
    RtlInitUnicodeString(&link, L"\\DosDevices\\oXMSProtocol");
    IoDeleteSymbolicLink(&link);
    IoDeleteDevice(driver->DeviceObject);
}

NTSTATUS NTAPI DriverEntry(DRIVER_OBJECT* driver, UNICODE_STRING* registry_path)
{
    UNICODE_STRING name;
    UNICODE_STRING link;
    DEVICE_OBJECT* device;
    NTSTATUS status;

    UNREFERENCED_PARAMETER(registry_path);
    RtlInitUnicodeString(&name, L"\\Device\\oXMSProtocol");
    RtlInitUnicodeString(&link, L"\\DosDevices\\oXMSProtocol");
    driver->DriverUnload = Unload;
    status = IoCreateDevice(driver, 0, &name, FILE_DEVICE_NETWORK, 0, FALSE, &device);
    /* Another host of the driver, which the service manager has lost sight of, serves the device as well as this one.
     */
    if (status == STATUS_OBJECT_NAME_COLLISION)
        return STATUS_SUCCESS;
    if (!NT_SUCCESS(status))
        return status;
    status = IoCreateSymbolicLink(&link, &name);
    if (!NT_SUCCESS(status))
    {
        IoDeleteDevice(device);
        return status;
    }
    driver->MajorFunction[IRP_MJ_CREATE] = OpenOrClose;
    driver->MajorFunction[IRP_MJ_CLOSE] = OpenOrClose;
    driver->MajorFunction[IRP_MJ_DEVICE_CONTROL] = DeviceControl;
    return STATUS_SUCCESS;
}
